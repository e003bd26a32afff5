#include "addin/frm_send_from_external_application.h"

#include "accounts/user_management.h"
#include "base/guard.h"
#include "message/message_operations.h"
#include "settings/settings.h"

namespace corvessa {

frmSendFromExternalApplication::frmSendFromExternalApplication()
    : BrandedForm("frmSendFromExternalApplication", "<!-- LONGNAME -->", 300, 166) {
  Frame1.Hold({&chkSign, &chkEncrypt});
  cmdContinue.SetDefault(true);
  cmdContinue.SetCancel(true);
  chkSign.OnClick = [this] { StoreChoices(); };
  chkEncrypt.OnClick = [this] { StoreChoices(); };
  cmdContinue.OnClick = [this] { Unload(); };
}

void frmSendFromExternalApplication::Form_Activate() {
  SetTopmost(true);
}

void frmSendFromExternalApplication::Init(const platform::MailItemPtr& item) {
  Guarded("frmSendFromExternalApplication::Init - ", [&] {
    const bool can_sign = UserManagement::GetSigningAccount() != nullptr;
    chkSign.SetEnabled(can_sign);
    chkSign.SetChecked(can_sign && !g_bDisableOutgoingSigning);
    chkEncrypt.SetChecked(!g_bDisableOutgoingEncryption);
    // Only now, so that setting the boxes up does not store half of the choices.
    m_oMailItem = item;
    StoreChoices();
  });
}

void frmSendFromExternalApplication::StoreChoices() {
  if (!m_oMailItem) return;
  stored_ = false;
  const SafeItem item(m_oMailItem);
  WriteHeaderFlag(item, kNoEncrypt, !chkEncrypt.Checked());
  WriteHeaderFlag(item, kNoSign, !chkSign.Checked());
  stored_ = true;
}

}  // namespace corvessa
