#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <ostream>
#include <tuple>

#include "base/error.h"
#include "base/text.h"
#include "commands/columns.h"
#include "commands/key_commands.h"

namespace corvessa {

void CheckStatus(platform::EngineStatus status, const std::string& reason) {
  if (status == 0) return;
  namespace answer = platform::engine_status;
  const bool is_environment = status == answer::kKeyStoreTrouble || status == answer::kIoTrouble;
  const Outcome outcome = status == answer::kInvalidKey ? Outcome::kWrongUse
                          : is_environment              ? Outcome::kEnvironment
                                                        : Outcome::kRefused;
  throw CommandError{outcome, reason};
}

void Check(platform::EngineStatus status, platform::IEngine& engine) {
  CheckStatus(status, status == 0 ? std::string() : WithoutFullStop(engine.GetEngineLastError()));
}

std::vector<engine::KeyInfo> RequireKeys(const CommandContext& context, UserData& data,
                                         engine::OpenPgpEngine& engine, const std::string& who) {
  std::vector<engine::KeyInfo> keys;
  Check(engine.FindKeys(who, keys), engine);
  if (!keys.empty()) return keys;
  context.TellKeyTrouble(data.KeysFolder());
  throw CommandError{Outcome::kRefused, "no key of " + who + "; see \"key list\""};
}

const engine::KeyInfo& EncryptionKey(const std::vector<engine::KeyInfo>& keys) {
  // The first of equals, as the engine takes it.
  const auto rank = [&](const engine::KeyInfo& key) {
    return std::tuple(key.encrypts, !key.revoked && !key.expired, key.secret, key.created);
  };
  return *std::ranges::max_element(keys, {}, rank);
}

bool Confirm(CommandContext& context, const KeyOptions& options, const std::string& question) {
  if (options.yes) return true;
  if (!context.prompt.IsThere()) {
    throw CommandError{Outcome::kWrongUse, "no terminal to ask; use --yes"};
  }
  const auto answer = context.prompt.ReadLine(question + " [y/N] ");
  const std::string word = LCase(Trim(answer.value_or("")));
  if (word == "?") {
    context.Tell("y or yes agrees; anything else is no, and nothing changes");
    return Confirm(context, options, question);
  }
  return word == "y" || word == "yes";
}

std::string Today() {
  using namespace std::chrono;
  return FormatDate(floor<seconds>(system_clock::now()).time_since_epoch().count());
}

Mark ValidityMark(const engine::KeyInfo& key) {
  if (key.revoked || key.expired || key.unnamed) return Mark::kBad;
  return key.encrypts ? Mark::kGood : Mark::kWarning;
}

std::string DescribeValidity(const OutputStyle& style, const engine::KeyInfo& key) {
  if (key.revoked) return "revoked";
  if (key.expired) return "expired";
  if (key.unnamed) return "no valid user ID";
  const std::string validity =
      key.expires == 0 ? "valid" : "valid until " + style.DateText(key.expires);
  return key.encrypts ? validity : validity + ", cannot encrypt";
}

std::string InGroups(const std::string& fingerprint) {
  std::string grouped;
  for (std::size_t i = 0; i < fingerprint.size(); i += 4) {
    if (i != 0) grouped += i == fingerprint.size() / 2 ? "  " : " ";
    grouped += fingerprint.substr(i, 4);
  }
  return grouped;
}

nlohmann::json DescribeKey(const engine::KeyInfo& key) {
  return {{"fingerprint", key.fingerprint},
          {"userIDs", key.user_ids},
          {"addresses", key.addresses},
          {"algorithm", key.algorithm},
          {"created", key.created},
          {"expires", key.expires == 0 ? nlohmann::json() : nlohmann::json(key.expires)},
          {"secret", key.secret},
          {"withoutPassphrase", key.open},
          {"revoked", key.revoked},
          {"expired", key.expired},
          {"encrypts", key.encrypts}};
}

void Print(CommandContext& context, const engine::KeyInfo& key) {
  if (context.json) return context.ListJson(DescribeKey(key));
  std::ostream& out = context.out;
  out << key.fingerprint << "  " << (key.secret ? "own" : "public")
      << (key.open ? ", without passphrase" : "") << "  " << key.algorithm << "  "
      << context.style.DateText(key.created) << "  "
      << context.style.Marked(ValidityMark(key), DescribeValidity(context.style, key)) << "\n";
  for (const std::string& user : key.user_ids) {
    PrintField(out, "    ", FieldText(user), context.OutputColumns(), 6);
  }
}

}  // namespace corvessa
