#include "message/frm_save_attachments.h"

#include <memory>
#include <vector>

#include "base/guard.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "message/save_attachments.h"
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

std::string LogText(const AttachmentResult& result) {
  std::string text = result.verdict + "\r\n";
  if (!result.path.empty()) return text + "Saved as " + result.path;
  return text + (result.failure.empty() ? "Not saved." : "Not saved: " + result.failure);
}

}  // namespace

frmSaveAttachments::frmSaveAttachments()
    : BrandedForm("frmSaveAttachments", "<!-- SHORTNAME --> Attachments", 420, 372) {
  txtResults.SetAccessibleName("Results");
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
  std::vector<bool> chosen;
  for (int row = 0; row < lstAttachments.RowCount(); ++row) {
    chosen.push_back(lstAttachments.RowChecked(row));
  }
  // A second click behind a passphrase dialog must not begin a second saving.
  cmdSave.SetEnabled(false);
  const Error error = Attempt([&] {
    SaveAttachments(m_oMailItem, chosen, folder,
                    {[&] { return IsLoaded(); },
                     [](const std::string& path) {
                       return Confirm("The file " + path + " already exists.\r\n\r\nReplace it?");
                     },
                     [&](const AttachmentResult& result) { Report(LogText(result)); }});
  });
  cmdSave.SetEnabled(true);
  if (error.number == 0) return;
  Report("Not saved: " + error.description);
  throw error;
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
