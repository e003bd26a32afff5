#include "desk/attachment_saving.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <system_error>

#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/signature_name.h"
#include "desk/command_error.h"
#include "desk/desk_host.h"
#include "desk/mail/mail_io.h"
#include "desk/message_report.h"
#include "desk/profile/profile_files.h"
#include "message/status_text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "system/errors.h"
#include "system/files.h"
#include "ui/controls.h"
#include "ui/form.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSaveDialog = "frmSaveAttachments";

void MakeFolder(const fs::path& folder) {
  std::error_code failure;
  fs::create_directories(folder, failure);
  if (failure) {
    throw CommandError{Outcome::kEnvironment,
                       "cannot create " + folder.string() + ": " + failure.message()};
  }
}

/// "name (2).ext" for the second of a name, and "name (2).ext.sig" for that one's signature.
std::string Numbered(const std::string& name, int number) {
  if (number == 1) return name;
  if (HasSignatureName(name)) {
    const std::string data_file(SignedName(name));
    return Numbered(data_file, number) + name.substr(data_file.size());
  }
  const fs::path path(name);
  return path.stem().string() + " (" + std::to_string(number) + ")" + path.extension().string();
}

/// A hidden file, or one that a command takes for an option, would deceive its user.
std::string NameToSave(const AttachmentReport& attachment, std::size_t place) {
  std::string name = mail::SafeFileName(ForDisplay(attachment.name));
  if (name.empty()) name = mail::GenericFileName(place, "");
  if (name.starts_with('.') || name.starts_with('-')) name.insert(0, "_");
  return name;
}

/// A different file for each attachment.
std::vector<fs::path> Targets(const fs::path& folder, const MessageReport& report) {
  std::vector<fs::path> targets;
  std::set<std::string> taken;
  std::map<std::string, int> numbers;
  for (const AttachmentReport& attachment : report.attachments) {
    const std::string name = NameToSave(attachment, targets.size() + 1);
    int& number = numbers[name];
    do {
      ++number;
    } while (!taken.insert(Numbered(name, number)).second);
    targets.push_back(folder / Numbered(name, number));
  }
  return targets;
}

void RefuseExisting(const std::vector<fs::path>& targets) {
  for (const fs::path& target : targets) {
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(target, ignored))) continue;
    throw CommandError{Outcome::kEnvironment,
                       target.string() + " already exists; nothing was saved"};
  }
}

/// A failure is noted, so that the other attachments and the text still reach the user.
void SaveNew(const Content& content, const fs::path& target, AttachmentReport& attachment,
             SavingResult& result) {
  try {
    system::WriteFile(target, [&](system::AtomicFile& file) {
      content.Provide([&](std::string_view piece) { file.Write(piece); });
      file.CommitNew();
    });
    attachment.saved_as = target.string();
  } catch (const Error& error) {
    result.Complain(WithoutFullStop(error.description), Outcome::kEnvironment);
  }
}

/// Links the file to its new place, or copies it to another file system.
void MoveNew(const fs::path& file, const fs::path& target, AttachmentReport& attachment,
             SavingResult& result) {
  std::error_code failure;
  fs::create_hard_link(file, target, failure);
  if (failure) return SaveNew(*FileContent(file), target, attachment, result);
  attachment.saved_as = target.string();
}

SavingResult SaveFromItem(const Item& item, const std::vector<fs::path>& targets,
                          MessageReport& report) {
  SavingResult result;
  const bool message_failed = report.protection && report.protection->DecryptionFailed();
  // If the message fails, its attachments are usually not tried.
  const bool was_tried = std::ranges::any_of(
      report.attachments, [](const auto& attachment) { return attachment.protection.has_value(); });
  if (message_failed && !was_tried && !targets.empty()) {
    result.Complain("no attachment was saved: the message could not be decrypted",
                    Outcome::kRefused);
    return result;
  }
  for (std::size_t i = 0; i < targets.size(); ++i) {
    AttachmentReport& attachment = report.attachments[i];
    const auto& content = item.Data().attachments[i]->content;
    const bool failed =
        attachment.protection ? attachment.protection->DecryptionFailed() : message_failed;
    if (failed || !content) {
      result.Complain(attachment.name + " was not saved: it could not be decrypted",
                      Outcome::kRefused);
    } else {
      SaveNew(*content, targets[i], attachment, result);
    }
  }
  return result;
}

/// A temporary folder for the dialog, removed with its contents.
class WorkFolder {
 public:
  explicit WorkFolder(DeskHost& host)
      : path_(platform::Host().files.TemporaryFolder() + std::string(kSavingFolder)),
        local_(host.LocalPath(path_)) {
    platform::Host().files.CreateFolder(path_);
  }
  ~WorkFolder() {
    std::error_code ignored;
    fs::remove_all(local_, ignored);
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  const std::string& Path() const { return path_; }
  const fs::path& Local() const { return local_; }

 private:
  std::string path_;
  fs::path local_;
};

/// The dialog's result for one attachment, from the lines that follow its name.
struct Result {
  std::string name;
  std::string file = {};
  std::string complaint = {};
  std::string signers = {};
};

std::vector<Result> ResultsOf(std::string_view log) {
  constexpr std::string_view kAttachment = "Attachment: ";
  constexpr std::string_view kSavedAs = "Saved as ";
  constexpr std::string_view kGood = "Verified signatures by: ";
  std::vector<Result> results;
  while (!log.empty()) {
    const std::size_t end = std::min(log.find(kCrLf), log.size());
    const std::string_view line = log.substr(0, end);
    log.remove_prefix(std::min(end + kCrLf.size(), log.size()));
    if (line.starts_with(kAttachment)) {
      results.push_back({std::string(line.substr(kAttachment.size()))});
    } else if (results.empty() || line.empty()) {
      continue;
    } else if (line.starts_with(kGood)) {
      results.back().signers = line.substr(kGood.size());
    } else if (line.starts_with(kSavedAs)) {
      results.back().file = line.substr(line.find_last_of('\\') + 1);
    } else {
      results.back().complaint = line;
    }
  }
  return results;
}

/// Clicks the button and lets its dialog save everything into the folder.
std::vector<Result> DialogResults(const ButtonPtr& button, const std::string& target) {
  button->Click();
  const FormPtr dialog = FindVisibleForm(kSaveDialog);
  auto* const folder = dialog ? dialog->Find<TextBox>("txtFolder") : nullptr;
  auto* const save = dialog ? dialog->Find<CommandButton>("cmdSave") : nullptr;
  auto* const log = dialog ? dialog->Find<TextBox>("txtResults") : nullptr;
  if (!folder || !save || !log) {
    throw CommandError{Outcome::kRefused, "the add-in did not offer to save the attachments"};
  }
  folder->Type(target);
  save->Press();
  std::vector<Result> results = ResultsOf(log->Text());
  dialog->PressCloseBox();
  return results;
}

/// Whether a later attachment was saved under the same name.
bool IsOverwritten(const std::vector<Result>& results, std::size_t i) {
  return std::any_of(results.begin() + static_cast<std::ptrdiff_t>(i) + 1, results.end(),
                     [&](const Result& later) { return later.file == results[i].file; });
}

/// Whether the saved file differs from the attachment as received.
bool Differs(const fs::path& saved, const ContentPtr& before) {
  if (!before) return true;
  std::ifstream file(saved, std::ios::binary);
  bool is_same = true;
  before->Provide([&](std::string_view piece) {
    std::string other(piece.size(), '\0');
    file.read(other.data(), static_cast<std::streamsize>(other.size()));
    is_same = is_same && file && other == piece;
  });
  return !is_same || file.peek() != std::ifstream::traits_type::eof();
}

/// Reports what the dialog found out about an attachment. It says nothing about signature files.
void Record(const Result& result, const fs::path& saved, const ContentPtr& before,
            AttachmentReport& attachment) {
  attachment.size = fs::file_size(saved);
  if (attachment.name.ends_with(".sig")) return;
  Protection& protection = attachment.protection.emplace();
  protection.decrypt_status =
      Differs(saved, before) ? decrypt_status::kDone : decrypt_status::kNotEncrypted;
  if (!result.signers.empty()) {
    protection.sign_status = sign_status::kGood;
    protection.signers = Split(result.signers, ", ");
  } else if (!result.complaint.empty()) {
    const bool is_bad = result.complaint.starts_with("Failed signatures by: ");
    protection.sign_status = is_bad ? sign_status::kBad : kUnknownStatus;
  }
  attachment.decrypt_text = DecryptStatusText(protection.decrypt_status);
  attachment.sign_text = SignStatusTextWithSigners(protection.sign_status, result.signers);
}

SavingResult SaveThroughDialog(DeskHost& host, const Item& item, const ButtonPtr& button,
                               const std::vector<fs::path>& targets, MessageReport& report) {
  const WorkFolder work(host);
  const std::vector<Result> results = DialogResults(button, work.Path());
  SavingResult saving;
  for (std::size_t i = 0; i < std::min(results.size(), targets.size()); ++i) {
    const Result& result = results[i];
    if (!result.complaint.empty()) {
      saving.Complain(result.name + ": " + result.complaint, Outcome::kRefused);
    }
    if (result.file.empty()) continue;
    if (IsOverwritten(results, i)) {
      saving.Complain(result.name + " was not saved: another attachment has the same name",
                      Outcome::kRefused);
    } else {
      const fs::path file = work.Local() / result.file;
      Record(result, file, item.Data().attachments[i]->content, report.attachments[i]);
      MoveNew(file, targets[i], report.attachments[i], saving);
    }
  }
  if (results.size() < targets.size()) {
    saving.Complain("not all attachments were saved", Outcome::kRefused);
  }
  return saving;
}

}  // namespace

void SavingResult::Complain(std::string complaint, Outcome because) {
  complaints.push_back(std::move(complaint));
  outcome = std::max(outcome, because);
}

SavingResult SaveAttachments(DeskHost& host, const InspectorWindowPtr& window,
                             const fs::path& folder, MessageReport& report) {
  const std::vector<fs::path> targets = Targets(folder, report);
  RefuseExisting(targets);
  MakeFolder(folder);
  if (const auto button = window->Bars().FindButton(kSaveAttachmentsButton)) {
    return SaveThroughDialog(host, *window->ShownItem(), button, targets, report);
  }
  return SaveFromItem(*window->ShownItem(), targets, report);
}

}  // namespace corvessa::desk
