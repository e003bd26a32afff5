#pragma once

#include <string>
#include <string_view>

#include "branding/branded_form.h"
#include "platform/outlook.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

/// Saves the chosen attachments of a message, decrypted and verified, into a folder, and says what
/// came of each. Asks before it replaces a file.
class frmSaveAttachments final : public BrandedForm {
 public:
  frmSaveAttachments();

  /// Lists the message's attachments, all of them chosen.
  void Init(const platform::MailItemPtr& item);

  /// Of the message whose attachments these are.
  std::string EntryID;

  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 406, 48}};
  Label Label1{*this, "Label1", {7, 62, 406, 13}, "Select the attachments to save:"};
  ListBox lstAttachments{*this, "lstAttachments", {7, 80, 406, 110}, true};
  Label Label2{*this, "Label2", {7, 200, 110, 13}, "Save in folder:"};
  TextBox txtFolder{*this, "txtFolder", {124, 197, 289, 21}};
  TextBox txtResults{*this, "txtResults", {7, 225, 406, 110}, TextBox::Kind::kLog};
  CommandButton cmdSave{*this, "cmdSave", {256, 342, 75, 23}, "&Save"};
  CommandButton cmdCancel{*this, "cmdCancel", {338, 342, 75, 23}, "&Cancel"};

 private:
  void Form_Activate() override { SetFocus(txtFolder); }

  void Save();
  void Report(std::string_view text);

  platform::MailItemPtr m_oMailItem;
};

/// Opens the dialog for a message, or brings forward the one that is open for it.
void OpenSaveAttachments(const platform::MailItemPtr& item);

/// Unloads every dialog of the message with that ID.
void UnloadSaveAttachments(std::string_view entry_id);

}  // namespace corvessa
