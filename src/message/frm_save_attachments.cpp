#include "message/frm_save_attachments.h"

#include <memory>

#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/engine_error_text.h"
#include "crypto/passphrase_trial.h"
#include "crypto/services.h"
#include "crypto/stored_files.h"
#include "crypto/verify_status.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

std::shared_ptr<frmSaveAttachments> FindDialog(std::string_view entry_id) {
  for (const auto& dialog : LoadedFormsOf<frmSaveAttachments>()) {
    if (dialog->EntryID == entry_id) return dialog;
  }
  return nullptr;
}

/// Ends a saving: deletes the files it worked on and forgets passphrases that are not to be kept.
class EndOfSaving {
 public:
  explicit EndOfSaving(AttachmentNodes& nodes) : nodes_(nodes) {}
  ~EndOfSaving() {
    DeleteStoredFiles(nodes_);
    Guarded("frmSaveAttachments::Save - ", [] { ForgetAfterUse(); });
  }
  EndOfSaving(const EndOfSaving&) = delete;
  EndOfSaving& operator=(const EndOfSaving&) = delete;

 private:
  AttachmentNodes& nodes_;
};

}  // namespace

frmSaveAttachments::frmSaveAttachments()
    : BrandedForm("frmSaveAttachments", "<!-- SHORTNAME --> Attachments", 420, 372) {
  cmdSave.SetDefault(true);
  cmdCancel.SetCancel(true);
  cmdSave.OnClick = [this] { Save(); };
  cmdCancel.OnClick = [this] { Unload(); };
}

void frmSaveAttachments::Init(const platform::MailItemPtr& item) {
  m_oMailItem = item;
  EntryID = item->EntryID();
  const auto list = item->Attachments();
  const std::int32_t count = list->Count();
  for (std::int32_t i = 1; i <= count; ++i) {
    lstAttachments.AddRow(ForDisplay(list->Item(i)->DisplayName()));
    lstAttachments.SetRowChecked(i - 1, true);
  }
}

void frmSaveAttachments::Save() {
  std::string folder(Trim(txtFolder.Text()));
  if (!folder.empty() && !folder.ends_with('\\')) folder += '\\';
  if (folder.empty() || !platform::Host().files.FolderExists(folder)) {
    Tell("Please enter a folder that exists.");
    return;
  }
  // A second click behind a passphrase dialog must not begin a second saving.
  cmdSave.SetEnabled(false);
  AttachmentNodes nodes;
  login_cancelled_ = false;
  const Error error = Attempt([&] {
    const EndOfSaving end(nodes);
    SaveChosen(folder, nodes);
  });
  cmdSave.SetEnabled(true);
  if (error.number == 0) return;
  Report("Not saved: " + error.description);
  throw error;
}

void frmSaveAttachments::SaveChosen(const std::string& folder, AttachmentNodes& nodes) {
  if (!Crypto()->StoreAllAttachments(m_oMailItem, nodes, false)) return;
  if (nodes.size() != static_cast<std::size_t>(lstAttachments.RowCount())) {
    Raise(kInvalidArgument, "The attachments of this message have changed.");
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    // The message, and this dialog with it, may have been closed behind a dialog.
    if (!IsLoaded()) return;
    if (!lstAttachments.RowChecked(static_cast<int>(i))) continue;
    AttachmentNode& node = *nodes[i];
    const Error error = Attempt([&] { SaveOne(folder, node, nodes); });
    if (error.number == 0) continue;
    Report("Attachment: " + ForDisplay(node.sDisplayName) + "\r\nNot saved: " + error.description);
  }
}

void frmSaveAttachments::SaveOne(const std::string& folder, AttachmentNode& data,
                                 const AttachmentNodes& nodes) {
  const auto crypto = Crypto();
  std::string outcome = "Attachment: " + ForDisplay(data.sDisplayName);
  if (!data.bDetachedSig) {
    data.lDecryptStatus = Decrypt(data);
    if (!IsLoaded()) return;
    if (!IsReadable(data.lDecryptStatus)) {
      Report(outcome + "\r\nNot saved: " + std::string(EngineErrorText(data.lDecryptStatus)));
      return;
    }
    const auto signature = FindByPath(nodes, data.sFilename + ".sig");
    if (signature && signature->bDetachedSig) {
      outcome = crypto->VerifyAttachment(data, *signature);
    }
  }
  const std::string path = folder + std::string(FileNameOf(data.sFilename));
  const bool saved = CopyTo(path, data);
  Report(outcome + (saved ? "\r\nSaved as " + path : "\r\nNot saved."));
}

std::int32_t frmSaveAttachments::Decrypt(const AttachmentNode& node) {
  const auto crypto = Crypto();
  platform::EngineStatus status = crypto->DecryptFileEx(node.sFilename);
  std::int16_t attempts = 0;
  std::int16_t wrong_account = 0;
  while (IsLoaded() && !login_cancelled_ && attempts < kPassphraseAttempts &&
         (status == platform::engine_status::kWrongPassphrase ||
          status == platform::engine_status::kNoKey)) {
    const std::int16_t answer = crypto->Authenticate(attempts, wrong_account);
    login_cancelled_ = answer == kLoginCancelled;
    if (answer != kUnlocked) continue;
    status = crypto->DecryptFileEx(node.sFilename);
    wrong_account = 1;
  }
  return DecryptStatusOf(status);
}

bool frmSaveAttachments::CopyTo(const std::string& path, const AttachmentNode& node) {
  platform::Files& files = platform::Host().files;
  if (!files.FileExists(path)) {
    files.Copy(node.sFilename, path);
    return true;
  }
  if (!Confirm("The file " + path + " already exists.\r\n\r\nReplace it?")) return false;
  files.Write(path, files.Read(node.sFilename));
  return true;
}

void frmSaveAttachments::Report(std::string_view text) {
  txtResults.AppendText(std::string(text).append("\r\n"));
}

void OpenSaveAttachments(const platform::MailItemPtr& item) {
  auto dialog = FindDialog(item->EntryID());
  if (!dialog) {
    dialog = std::make_shared<frmSaveAttachments>();
    dialog->Load();
    dialog->Init(item);
  }
  dialog->Show();
}

void UnloadSaveAttachments(std::string_view entry_id) {
  for (const auto& dialog : LoadedFormsOf<frmSaveAttachments>()) {
    if (dialog->EntryID == entry_id) dialog->Unload();
  }
}

}  // namespace corvessa
