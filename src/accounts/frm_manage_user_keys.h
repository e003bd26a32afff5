#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "branding/branded_form.h"
#include "ui/controls.h"
#include "ui/list_controls.h"

namespace corvessa {

class frmNoKeyPairs;

/// The settings dialog: the secured addresses on the first tab, the preferences on the second.
/// Shown without blocking. Loading it saves the settings, and so does closing it, however it is
/// closed; the preferences reach memory only by OK.
class frmManageUserKeys final : public BrandedForm {
 public:
  frmManageUserKeys();

  /// Asks a user without any address whether to add one now, and does so.
  void AskAddAddress();
  /// Shows the prompt for addresses without keys, which the caller has filled.
  void AskRegisterKeys(const std::shared_ptr<frmNoKeyPairs>& prompt);
  /// Selects a tab, counted from 1.
  void ShowTab(int tab);
  /// Does not need the dialog to be loaded.
  void CheckForProductUpdates(bool asked_by_user);

  TabStrip tbsTabs{*this, "tbsTabs", {7, 62, 426, 262}, {"Email Addresses", "Options"}};
  Frame fraSecureEmail{*this, "fraSecureEmail", {17, 90, 406, 160}, "Secure Email Addresses"};
  ListView lstvwAliases{*this, "lstvwAliases", {27, 108, 304, 132}};
  ImageList imglstAliases{*this, "imglstAliases", {"Nimbra Signer"}};
  CommandButton cmdAdd{*this, "cmdAdd", {338, 108, 75, 23}, "&Add"};
  CommandButton cmdRemove{*this, "cmdRemove", {338, 138, 75, 23}, "&Remove"};
  CommandButton cmdProperties{*this, "cmdProperties", {338, 168, 75, 23}, "&Properties"};
  CheckBox chkDecryptAndVerifyIncoming{*this,
                                       "chkDecryptAndVerifyIncoming",
                                       {17, 257, 406, 17},
                                       "Decrypt and verify &incoming mail by default"};
  CheckBox chkSignOutgoing{
      *this, "chkSignOutgoing", {17, 278, 406, 17}, "&Sign outgoing mail by default"};
  CheckBox chkEncryptOutgoing{
      *this, "chkEncryptOutgoing", {17, 299, 406, 17}, "&Encrypt outgoing mail by default"};
  CheckBox chkDisableKVP{*this, "chkDisableKVP", {17, 90, 406, 17}, "&Disable <!-- LONGNAME -->"};
  CheckBox chkLogDebuggingInfo{
      *this, "chkLogDebuggingInfo", {17, 111, 406, 17}, "Log de&bugging information"};
  Frame fraPassphraseOptions{
      *this, "fraPassphraseOptions", {17, 135, 406, 112}, "Passphrase Options"};
  OptionButton optRemember[2]{
      {*this,
       "optRemember",
       0,
       {27, 153, 386, 17},
       "Remember my passphrase(s) for my entire session"},
      {*this, "optRemember", 1, {27, 174, 386, 17}, "Forget my passphrase(s)"}};
  OptionButton optForgetWhen[2]{
      {*this, "optForgetWhen", 0, {47, 195, 366, 17}, "After each use"},
      {*this, "optForgetWhen", 1, {47, 218, 290, 17}, "After the specified number of minutes:"}};
  TextBox txtForgetWhen{*this, "txtForgetWhen", {343, 216, 60, 21}};
  CommandButton cmdProductUpdates{
      *this, "cmdProductUpdates", {17, 257, 210, 23}, "Check for product &updates"};
  Inet Inet1{*this, "Inet1"};
  CommandButton cmdOK{*this, "cmdOK", {47, 331, 75, 23}, "&Ok"};
  CommandButton cmdHelp{*this, "cmdHelp", {129, 331, 75, 23}, "&Help"};
  CommandButton cmdAbout{*this, "cmdAbout", {211, 331, 75, 23}, "A&bout"};
  CommandButton cmdTools{*this, "cmdTools", {293, 331, 140, 23}, "Encryption &Tools"};
  Image imgLogoImage{*this, "imgLogoImage", {7, 7, 426, 48}};

 private:
  void Form_Load() override;
  void Form_Activate() override;
  void Form_Unload() override;

  void WireHandlers();
  void ShowControlsOfTab();
  void ShowPreferences();
  void ShowAccounts();
  void ShowPassphraseMemory();
  void UpdateButtons();
  void ApplyPassphraseRule();
  void ApplySigningRule();
  void EnableAll(bool enabled);
  void Accept();
  void StorePreferences();
  void SaveSettings();
  void RememberChange(bool added, const std::string& address);
  void ReplayUnsavedChanges();

  // The address list, in frm_manage_user_keys_addresses.cpp.
  void Add();
  void AddAccount(std::string_view address);
  void ReportMissingKeyPair(std::string_view address);
  void OfferImapAccess(std::string_view address);
  void Remove();
  void ShowProperties();
  void RefreshSignerIcons();

  /// An address that was added or removed since the settings were saved last; the latest change of
  /// each address only.
  struct UnsavedChange {
    bool added;
    std::string address;
  };
  std::vector<UnsavedChange> unsaved_changes_;
  bool has_update_page_ = false;
  bool finished_loading_ = false;
};

}  // namespace corvessa
