#include <algorithm>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/paths.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "forms/dialogs.h"
#include "message/encryption_failure.h"
#include "message/item_access.h"
#include "message/message_operations.h"
#include "platform/host.h"
#include "platform/observer.h"

namespace corvessa {
namespace {

/// A message between two steps, to which it returns when the user goes on without the next one:
/// half a signature or half an encryption must not travel.
class Checkpoint {
 public:
  Checkpoint(const platform::MailItemPtr& item, const AttachmentNodes& nodes)
      : body_(item), nodes_(nodes) {
    for (const AttachmentNodePtr& node : nodes) states_.push_back(*node);
  }

  void PutBack(const platform::MailItemPtr& item, AttachmentNodes& nodes) const {
    body_.PutBack(item);
    for (std::size_t i = 0; i < nodes_.size(); ++i) PutBack(*nodes_[i], states_[i]);
    for (const AttachmentNodePtr& node : nodes) {
      if (std::ranges::find(nodes_, node) == nodes_.end()) {
        DeleteOrQueue(node->sFilename);
      }
    }
    nodes = nodes_;
  }

 private:
  static void PutBack(AttachmentNode& node, const AttachmentNode& state) {
    if (node.sFilename != state.sFilename) DeleteOrQueue(node.sFilename);
    const std::string original = node.original_filename;
    node = state;
    if (original == state.original_filename) return;
    // Its file was overwritten and the original kept elsewhere, under the same name.
    DeleteOrQueue(state.sFilename);
    node.sFilename = node.original_filename = original;
    node.sDir = FolderOf(original);
  }

  MessageBody body_;
  AttachmentNodes nodes_;
  std::vector<AttachmentNode> states_;
};

/// The files behind the item's own attachments are deleted next, so that its word is not taken for
/// what it holds.
bool HoldsAll(const platform::MailItemPtr& item, const AttachmentNodes& attachments) {
  return Guarded(":SignAndEncryptItem - ", false, [&] {
    return static_cast<std::size_t>(item->Attachments()->Count()) == attachments.size();
  });
}

bool AskToSendUnsigned(const SafeItem& item) {
  const bool agreed = Confirm("Failed to sign email.  Send without signature?");
  platform::HostObserver().ConsentAsked(item.Item(), {platform::Consent::kSendUnsigned, agreed});
  return agreed;
}

}  // namespace

std::int32_t CryptoOperations::PutProcessedAttachments(const SafeItem& item,
                                                       const AttachmentNodes& attachments) {
  // Raises while the item still has what it had.
  RequireFiles(attachments);
  const auto give_up = [&](std::string_view reason) {
    // Retried once like the rest: Outlook may hold an attachment for a moment.
    if (!ReInsertAttachments(item.Item(), attachments, true)) {
      ReInsertAttachments(item.Item(), attachments, true);
    }
    TellNotSent(reason);
    return kGivenUp;
  };
  if (!ClearAttachments(item.Item()) && !ClearAttachments(item.Item())) {
    return give_up("Its attachments could not be removed for the encrypted or signed ones.");
  }
  if ((!ReInsertAttachments(item.Item(), attachments, false) &&
       !ReInsertAttachments(item.Item(), attachments, false)) ||
      !HoldsAll(item.Item(), attachments)) {
    return give_up("Its encrypted or signed attachments could not be attached.");
  }
  return 0;
}

std::int32_t CryptoOperations::SignAndEncryptStored(const SafeItem& item,
                                                    AttachmentNodes& attachments) {
  const bool no_encrypt = ReadHeaderFlag(item, kNoEncrypt);
  const bool sign_only = no_encrypt && !ReadHeaderFlag(item, kNoSign);
  const Checkpoint unsigned_message(item.Item(), attachments);
  std::int32_t status = SignMailItem(item, attachments, sign_only);
  if (status != 0) {
    // The item still has its own attachments: they are replaced at the very end only.
    if (!AskToSendUnsigned(item)) return status;
    unsigned_message.PutBack(item.Item(), attachments);
  }

  if (no_encrypt) {
    platform::HostObserver().ConsentAsked(item.Item(),
                                          {platform::Consent::kLeaveUnencrypted, true});
  } else {
    const Checkpoint clear_message(item.Item(), attachments);
    status = EncryptMailItem(item, attachments);
    if (status != 0) {
      if (ReportEncryptionFailure(status, item) != kResultYes) return status;
      clear_message.PutBack(item.Item(), attachments);
    }
  }
  return PutProcessedAttachments(item, attachments);
}

std::int32_t CryptoOperations::SignAndEncryptItem(const SafeItem& item,
                                                  AttachmentNodes& attachments,
                                                  bool no_options_bar) {
  // Plain files are queued as they get encrypted, but are needed again if a later one fails.
  const KeepQueuedFiles keep;
  std::int32_t status = kGivenUp;
  const Error error = Attempt([&] {
    KillAllFiles(attachments);
    if (!StoreAllAttachments(item, attachments, no_options_bar)) return;
    status = SignAndEncryptStored(item, attachments);
  });
  if (error.number != 0) {
    Debug_Info::TraceLog(":SignAndEncryptItem - " + error.description);
    TellNotSent(error.description);
  }
  return status;
}

}  // namespace corvessa
