#include "desk/delivery.h"

#include <ctime>
#include <vector>

#include "base/text.h"
#include "commands/command_error.h"
#include "desk/mail/mail_io.h"
#include "desk/profile/profile.h"
#include "desk/program.h"
#include "desk/settings_store.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDefaultDeliveryCommand = "/usr/sbin/sendmail";

std::vector<std::string> SplitAtBlanks(std::string_view text) {
  std::vector<std::string> words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = text.find_first_not_of(' ', at);
    if (begin == std::string_view::npos) break;
    at = std::min(text.find(' ', begin), text.size());
    words.emplace_back(text.substr(begin, at - begin));
  }
  return words;
}

std::vector<std::string> Recipients(const mail::Mail& mail) {
  std::vector<std::string> addresses;
  for (const auto* list : {&mail.to, &mail.cc, &mail.bcc}) {
    for (const mail::Mailbox& mailbox : *list) addresses.push_back(mailbox.address);
  }
  return addresses;
}

std::vector<std::string> CallOf(std::string_view command, const mail::Mail& mail) {
  std::vector<std::string> call = SplitAtBlanks(command);
  // "-i": a line with a single dot is text. "--": an address is never an option.
  for (const std::string& argument :
       {std::string("-i"), std::string("-f"), mail.from.address, std::string("--")}) {
    call.push_back(argument);
  }
  for (std::string& recipient : Recipients(mail)) call.push_back(std::move(recipient));
  return call;
}

/// A file name that sorts by time and is new: the message's identifier is random.
std::string NameFor(const mail::Mail& mail) {
  char time[32];
  const std::time_t seconds = mail.date.value_or(std::time(nullptr));
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  const std::size_t size = std::strftime(time, sizeof time, "%Y%m%d-%H%M%S", &fields);
  const std::string_view id = mail.message_id;
  return std::string(time, size) + "-" +
         mail::SafeFileName(id.substr(0, id.find('@'))).substr(0, 64) + ".eml";
}

[[noreturn]] void Fail(Profile& profile, const mail::Mail& mail, const std::string& why) {
  const fs::path file = KeepCopy(mail, profile.UnsentFolder());
  throw CommandError{Outcome::kEnvironment,
                     "not sent: " + why + "; kept as " + system::PathText(file)};
}

}  // namespace

void DeliverMail(Profile& profile, const mail::Mail& mail) {
  std::string command = SettingsStore(profile.Registry()).Get(kDeliveryCommand);
  if (Trim(command).empty()) command = kDefaultDeliveryCommand;
  const std::string bytes = mail::FormatMail(mail, mail::MailPurpose::kTravel);
  const std::string_view input = bytes;
  const int code = RunProgram(CallOf(command, mail), &input).exit_code;
  if (code == 0) return;
  Fail(profile, mail,
       code == kProgramNotFound
           ? "there is no program " + SplitAtBlanks(command).front() + "; set DeliveryCommand"
           : "the delivery command failed with exit code " + Decimal(code));
}

fs::path KeepCopy(const mail::Mail& mail, const fs::path& folder) {
  system::MakePrivateFolder(folder, system::File::Links::kFollow);
  const bool is_maildir = fs::is_directory(folder / "cur") && fs::is_directory(folder / "new");
  // The flag S: the sender has seen it.
  fs::path file = is_maildir ? folder / "cur" / (NameFor(mail) + ":2,S") : folder / NameFor(mail);
  mail::WriteMail(mail, file, mail::MailPurpose::kTravel);
  return file;
}

}  // namespace corvessa::desk
