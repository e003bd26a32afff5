#include <string>

#include "addin/frm_send_from_external_application.h"
#include "addin/outlook_support.h"
#include "addin/outlook_version.h"
#include "base/debug_info.h"
#include "base/guard.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/frm_timer.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "message/encryption_failure.h"
#include "message/item_access.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"
#include "platform/ui.h"
#include "settings/edition.h"
#include "settings/settings.h"
#include "tracking/active_explorers.h"
#include "tracking/active_inspectors.h"

namespace corvessa {
namespace {

using Debug_Info::TraceLog;

constexpr std::string_view kItemSendPrefix = "m_oApplication_ItemSend: ";

bool IsMailItem(const platform::MailItemPtr& item) {
  return item->TypeName() == platform::kMailItemType && item->Class() == platform::kMailItemClass;
}

bool NeedsSendProcessing(const SafeItem& item) {
  platform::Observer& observer = platform::HostObserver();
  if (g_bDisableKVPEntirely || !IsMailItem(item.Item())) {
    observer.SendLeftAlone(item.Item());
    return false;
  }
  if (!ReadHeaderFlag(item, kNoEncrypt) || !ReadHeaderFlag(item, kNoSign)) return true;
  observer.ConsentAsked(item.Item(), {platform::Consent::kLeaveUnencrypted, true});
  observer.ConsentAsked(item.Item(), {platform::Consent::kLeaveUnsigned, true});
  return false;
}

/// Asks for the choices that the missing options bar would have held. False if they could not be
/// stored in the item, which must then stay.
bool AskForChoices(const platform::MailItemPtr& item) {
  TraceLog("Loading external send form");
  const auto form = std::make_shared<frmSendFromExternalApplication>();
  const UnloadAtEnd unload(*form);
  form->Load();
  form->Init(item);
  form->SetShowsInTaskbar(true);
  form->ShowModal();
  platform::Host().ui.DoEvents();
  return form->ChoicesStored();
}

bool ConfirmDuplicateFilenames(const SafeItem& item) {
  if (!HasDuplicateFilenames(item)) return true;
  const bool agreed = Confirm(
      "The email you are sending contains multiple attachments with the  same "
      "filename.\r\n" +
      Customization::AppLongName() +
      " may encounter errors when decrypting these files.\r\n\r\n"
      "Continue sending this email?");
  platform::HostObserver().ConsentAsked(item.Item(), {platform::Consent::kSameFileNames, agreed});
  return agreed;
}

/// Each version of Outlook has its own way to make a message plain text.
void ConvertToPlainText(const platform::MailItemPtr& item, platform::Application& application) {
  TraceLog("ItemSend - converting body from HTML");
  if (IsOutlook2000(application)) {
    const platform::SharedText body = item->Body();
    item->SetBody(*body);
  } else if (IsOutlook2002(application) || IsOutlook2003(application)) {
    item->SetBodyFormat(platform::kBodyFormatPlain);
  }
}

/// The engine wrapper, told whether to hide the recipients: an encrypted message must not name its
/// blind-copy recipients to the others. Null, and the user told why, if that fails.
std::shared_ptr<CryptoOperations> PrepareCrypto(const SafeItem& item, bool encrypt) {
  auto crypto =
      Guarded(kItemSendPrefix, std::shared_ptr<CryptoOperations>(), [] { return Crypto(); });
  if (!crypto) {
    TellNotSent("The encryption engine could not be started.");
    return nullptr;
  }
  const bool prepared = Guarded(kItemSendPrefix, false, [&] {
    crypto->SetAnonymous(encrypt && HasBlindCopies(item));
    return true;
  });
  if (prepared) return crypto;
  TellNotSent("It could not be checked for blind-copy recipients.");
  return nullptr;
}

/// Lost text cannot be recovered, so retry once.
void PutBack(const MessageBody& original, const platform::MailItemPtr& item) {
  if (Attempt([&] { original.PutBack(item); }).number != 0) original.PutBack(item);
}

/// Turns the item into what is to be sent, or cancels the send and puts the body back. The files
/// that this stores are in `files` afterwards, also after an error.
void SignAndEncrypt(const SafeItem& item, platform::Application& application,
                    const MessageBody& original, AttachmentNodes& files, bool& cancel) {
  const bool encrypt = !ReadHeaderFlag(item, kNoEncrypt);
  const bool sign = !ReadHeaderFlag(item, kNoSign);
  if (original.HasHTML() && encrypt && sign) ConvertToPlainText(item.Item(), application);

  const auto crypto = PrepareCrypto(item, encrypt);
  if (!crypto) cancel = true;
  if (!cancel) {
    TraceLog("m_oApplication_ItemSend: Sending original");
    const bool no_options_bar = !IsOptionsBarPresent(item.Item());
    if (crypto->SignAndEncryptItem(item, files, no_options_bar) != 0) cancel = true;
  }
  if (cancel) PutBack(original, item.Item());
}

/// A window may open while the add-in closes down, when its registry is gone.
template <typename Registry>
Registry& Required(const std::shared_ptr<Registry>& registry) {
  if (!registry) Raise(kObjectNotSet);
  return *registry;
}

}  // namespace

void OutlookSupport::m_oExplorers_NewExplorer(const platform::ExplorerPtr& explorer) {
  Guarded("OutlookSupport::m_oExplorers_NewExplorer - ",
          [&] { Required(m_oActiveExplorers).AddExplorer(explorer, false); });
}

void OutlookSupport::m_oInspectors_NewInspector(const platform::InspectorPtr& inspector) {
  Guarded("OutlookSupport::m_oInspectors_NewInspector - ", [&] {
    const auto item = inspector->CurrentItem();
    if (item && item->Class() == platform::kMailItemClass) {
      Required(m_oActiveInspectors).AddInspector(inspector);
    }
  });
}

void OutlookSupport::m_oApplication_ItemSend(const platform::MailItemPtr& item, bool& cancel) {
  const auto held = shared_from_this();
  const auto application = m_oApplication;
  // The user may send another message while the files of this one are being encrypted; its setting
  // must not reveal the blind-copy recipients of the first.
  const bool inside_another = KeepQueuedFiles::InForce();
  const bool anonymous = g_oCrypto && g_oCrypto->IsAnonymous();
  AttachmentNodes files;
  bool begun = false;
  Guarded(kItemSendPrefix, [&] {
    const bool unasked = !g_bDisableKVPEntirely && IsMailItem(item) && !IsOptionsBarPresent(item);
    if (unasked && !AskForChoices(item)) {
      cancel = true;
      TellNotSent("Its security options could not be stored.");
      return;
    }
    const SafeItem safe_item(item);
    if (!NeedsSendProcessing(safe_item)) return;
    const MessageBody original(item);
    if (!ConfirmDuplicateFilenames(safe_item)) {
      cancel = true;
      return;
    }
    begun = true;
    SignAndEncrypt(safe_item, *application, original, files, cancel);
  });
  if (!begun) return;
  // After an error too, so that neither plain files nor passphrases stay behind. Not through the
  // engine wrapper, which is gone if the add-in was closed down meanwhile.
  DeleteStoredFiles(files);
  Guarded(kItemSendPrefix, [] { ForgetAfterUse(); });
  Guarded(kItemSendPrefix, [&] {
    if (inside_another && g_oCrypto) g_oCrypto->SetAnonymous(anonymous);
  });
}

void OutlookSupport::NewExplorer(const platform::ExplorerPtr& explorer) {
  m_oExplorers_NewExplorer(explorer);
}

void OutlookSupport::NewInspector(const platform::InspectorPtr& inspector) {
  m_oInspectors_NewInspector(inspector);
}

void OutlookSupport::ItemSend(const platform::MailItemPtr& item, bool& cancel) {
  m_oApplication_ItemSend(item, cancel);
  Guarded(kItemSendPrefix, [&] { platform::HostObserver().SendEnded(item, cancel); });
}

}  // namespace corvessa
