#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

/// What the installed edition fixes: its names, engine values and pages, the version, and the
/// captions made from the names. Nothing here throws; a value that is absent or cannot be read is
/// "".
namespace corvessa {

namespace RegistryHandlers {

/// A fixed value of the edition; "" when it is absent or of 255 bytes or more.
std::string GetVersionValue(std::string_view name);

}  // namespace RegistryHandlers

/// The values of the brand that the logic asks for by name. Each call reads the registry.
namespace Customization {

std::string AppShortName();
std::string AppLongName();
std::string EnginePGPMessageHeader();
std::string EnginePGPSignatureHeader();
std::string EngineCustomerID();
std::string EngineLookupServer();
std::string EngineUpdateServer();

}  // namespace Customization

/// Names of the message's command bars and the key of the reply flag, built from the short product
/// name at start-up.
extern std::string g_sOptionsCaption;
extern std::string g_sStatusCaption;
extern std::string g_sDecryptNowCaption;
extern std::string g_sDecryptAttachmentsCaption;
extern std::string g_sEncryptedReplyCaption;

/// Builds all five.
void BuildCaptions();

/// Empties all five.
void ClearCaptions() noexcept;

/// The add-in's programmatic identifier in the form in which Office routes a button's click to it.
inline constexpr char kButtonAction[] = "!<CorvessaPro_OL.Connect>";

struct Version {
  std::int32_t major;
  std::int32_t minor;
  std::int32_t revision;
  auto operator<=>(const Version&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// The add-in's own.
Version RunningVersion();

/// As users see it: "1.0.0".
std::string VersionText(const Version& version);

}  // namespace corvessa
