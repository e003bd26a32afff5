#include "desk/attachment_saving.h"

#include <algorithm>
#include <map>
#include <set>
#include <system_error>

#include "base/error.h"
#include "base/guard.h"
#include "base/text.h"
#include "commands/command_error.h"
#include "crypto/stored_files.h"
#include "desk/desk_host.h"
#include "desk/mail/mail_io.h"
#include "desk/message_report.h"
#include "desk/profile/profile_files.h"
#include "message/attachment_node.h"
#include "message/frm_save_attachments.h"
#include "platform/files.h"
#include "platform/host.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSaveButtonTag = "CorvessaPro_OL.DecryptAttachments.";

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

/// Saves everything into the folder with the dialog that the add-in's button opens.
void SaveWithDialog(const InspectorWindowPtr& window, const std::string& folder) {
  const ButtonPtr button = window->Bars().FindTagged(kSaveButtonTag);
  if (button) button->Click();
  for (const auto& dialog : LoadedFormsOf<frmSaveAttachments>()) {
    if (dialog->EntryID != window->ShownItem()->Data().entry_id) continue;
    dialog->txtFolder.Type(folder);
    dialog->cmdSave.Press();
    dialog->PressCloseBox();
    return;
  }
  throw CommandError{Outcome::kRefused, "the add-in did not offer to save the attachments"};
}

/// Whether a later attachment was saved under the same name.
bool IsOverwritten(const std::vector<platform::SavedAttachment>& all,
                   const platform::SavedAttachment& saved) {
  return std::ranges::any_of(all, [&](const auto& other) {
    return other.index > saved.index && other.path == saved.path;
  });
}

/// Empty when the attachment was saved and its signature is not bad.
std::string ComplaintAbout(const platform::SavedAttachment& saved) {
  if (!saved.failure.empty()) return " was not saved: " + WithoutFullStop(saved.failure);
  if (saved.path.empty()) return " was not saved";
  const auto& protection = saved.attachment.protection;
  if (!protection || !protection->SignatureFailed()) return {};
  return " " + SignStatusText(protection->sign_status, false);
}

SavingResult SaveThroughDialog(DeskHost& host, const InspectorWindowPtr& window,
                               const std::vector<fs::path>& targets, MessageReport& report) {
  const WorkFolder work(host);
  const auto& all = host.Facts(window->ShownItem()).saved;
  host.Facts(window->ShownItem()).saved.clear();
  SaveWithDialog(window, work.Path());
  SavingResult saving;
  for (const platform::SavedAttachment& saved : all) {
    const auto i = static_cast<std::size_t>(saved.index - 1);
    AttachmentReport& attachment = report.attachments.at(i);
    if (const std::string complaint = ComplaintAbout(saved); !complaint.empty()) {
      saving.Complain(attachment.name + complaint, Outcome::kRefused);
    }
    if (saved.path.empty()) continue;
    if (IsOverwritten(all, saved)) {
      saving.Complain(attachment.name + " was not saved: another attachment has the same name",
                      Outcome::kRefused);
      continue;
    }
    const fs::path file = host.LocalPath(saved.path);
    attachment.size = fs::file_size(file);
    attachment.protection = saved.attachment.protection;
    MoveNew(file, targets[i], attachment, saving);
  }
  if (all.size() < targets.size()) {
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
  if (report.attachments_left_to_button) return SaveThroughDialog(host, window, targets, report);
  return SaveFromItem(*window->ShownItem(), targets, report);
}

}  // namespace corvessa::desk
