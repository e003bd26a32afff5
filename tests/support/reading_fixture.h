#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/addin_fixture.h"

namespace corvessa::testing {

/// The add-in with the real engine and two key pairs: Ann reads, Bob writes to her. Made messages
/// come from a second engine on the same rings, so that nothing is unlocked in the add-in's.
class ReadingFixture : public AddInFixture {
 protected:
  static constexpr std::string_view kAnn = "ann@example.org";
  static constexpr std::string_view kBob = "bob@example.com";
  static constexpr std::string_view kAnnsPassphrase = "a horse & a battery";
  static constexpr std::string_view kBobsPassphrase = "staple";

  ReadingFixture() : AddInFixture({.engine = EngineChoice::kReal}) {}
  void SetUp() override;

  /// Armour for Ann, and clear-signed by Bob.
  std::string Encrypted(std::string_view text);
  std::string Signed(std::string_view text);
  /// The same of a file's content; the signature is detached.
  std::string EncryptedFile(std::string_view content);
  std::string SignatureOf(std::string_view content);

  /// A mail from Bob in the Inbox.
  desk::ItemPtr Received(std::string body,
                         std::vector<std::pair<std::string, std::string>> attachments = {});
  /// The item's attachments as it is open now: display name and content.
  std::vector<std::pair<std::string, std::string>> AttachmentsOf(const desk::Item& item) const;

  /// The next passphrase dialog is answered with that; an empty one cancels it.
  void ExpectLogin(std::string_view passphrase);
};

}  // namespace corvessa::testing
