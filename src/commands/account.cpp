#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <vector>

#include "base/address.h"
#include "base/text.h"
#include "commands/account_store.h"
#include "commands/command_context.h"

namespace corvessa {
namespace {

/// Otherwise the user would learn of it only when a message is to be signed or read.
void TellOfUnusableKey(const CommandContext& context, UserData& data, const std::string& address) {
  std::vector<engine::KeyInfo> keys;
  data.OpenEngine()->FindKeys(address, keys);
  const auto is_usable = [](const engine::KeyInfo& key) {
    return key.secret && !key.expired && !key.revoked;
  };
  if (std::ranges::any_of(keys, is_usable)) return;
  const auto own = std::ranges::find_if(keys, &engine::KeyInfo::secret);
  if (own != keys.end()) {
    context.Tell("the key of " + address + " " + (own->revoked ? "was revoked" : "has expired") +
                 "; create a new one with \"key generate " + address + "\"");
    return;
  }
  context.Tell("no own key for " + address + " yet; create one with \"key generate " + address +
               "\"");
}

bool Signs(const AccountStore& accounts, const std::string& address) {
  return std::ranges::any_of(accounts.Accounts(), [&](const AccountEntry& entry) {
    return entry.signs && entry.address == address;
  });
}

Outcome Add(CommandContext& context, const std::string& address, bool signs) {
  const auto data = context.OpenUserData();
  const std::string normal = AccountStore::AccountAddress(address);
  AccountStore accounts(data->Registry());
  const auto before = accounts.Accounts();
  const bool has_changed = accounts.AddAccount(normal, signs);
  if (has_changed) data->SaveRegistry();
  if (context.json) {
    context.WriteJson(
        {{"address", normal}, {"signs", Signs(accounts, normal)}, {"changed", has_changed}});
  } else if (has_changed) {
    context.out << ForDisplay(normal) << (signs ? " is secured and signs.\n" : " is secured.\n");
    for (const AccountEntry& entry : before) {
      if (!signs || !entry.signs || entry.address == normal) continue;
      context.out << ForDisplay(entry.address) << " no longer signs; only one account does.\n";
    }
  } else {
    context.out << ForDisplay(normal) << " is already secured.\n";
  }
  TellOfUnusableKey(context, *data, normal);
  return Outcome::kDone;
}

Outcome Remove(CommandContext& context, const std::string& address) {
  const auto data = context.OpenUserData();
  if (!AccountStore(data->Registry()).RemoveAccount(address)) {
    throw CommandError{Outcome::kRefused,
                       address + " is not a secured address; see \"account list\""};
  }
  data->SaveRegistry();
  if (context.json) {
    context.WriteJson({{"address", NormalAddress(address)}, {"removed", true}});
  } else {
    context.out << ForDisplay(address) << " was removed; its keys remain.\n";
  }
  return Outcome::kDone;
}

Outcome List(CommandContext& context) {
  const auto data = context.OpenUserData();
  for (const AccountEntry& entry : AccountStore(data->Registry()).Accounts()) {
    if (context.json) {
      context.ListJson({{"address", entry.address}, {"signs", entry.signs}});
    } else {
      context.out << ForDisplay(entry.address) << (entry.signs ? "  signs\n" : "\n");
    }
  }
  return Outcome::kDone;
}

}  // namespace

void AddAccountCommands(CLI::App& app, CommandContext& context) {
  auto* const account = app.add_subcommand("account", "manage the secured addresses");
  account->require_subcommand(1);
  struct Options {
    std::string address;
    bool signs = false;
  };
  const auto options = std::make_shared<Options>();

  auto* const add = account->add_subcommand("add", "secure an address");
  AddAddressOption(*add, options->address);
  add->add_flag("--sign", options->signs, "sign outgoing mail with it");
  OnRun(*add, context,
        [&context, options] { return Add(context, options->address, options->signs); });
  auto* const remove = account->add_subcommand("remove", "stop securing an address");
  AddAddressOption(*remove, options->address);
  OnRun(*remove, context, [&context, options] { return Remove(context, options->address); });
  OnRun(*account->add_subcommand("list", "list the secured addresses"), context,
        [&context] { return List(context); });
}

}  // namespace corvessa
