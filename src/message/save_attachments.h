#pragma once

#include <functional>
#include <string>
#include <vector>

#include "message/attachment_node.h"
#include "platform/outlook.h"

namespace corvessa {

/// What came of one attachment that was to be saved.
struct AttachmentResult {
  const AttachmentNode& node;
  /// "Attachment: " and its name, then what was found of its signature, if it has one.
  std::string verdict;
  /// The file that holds it; empty when it was not saved.
  std::string path = {};
  /// Why it was not saved; empty when it was, or when an existing file was not to be replaced.
  std::string failure = {};
};

/// What saving asks of its caller. Passphrase dialogs let other events in meanwhile.
struct SavingCaller {
  /// Whether to go on: the message may have been closed.
  std::function<bool()> is_waiting;
  std::function<bool(const std::string& path)> may_replace;
  std::function<void(const AttachmentResult& result)> report;
};

/// Saves attachments of a message, decrypted and verified, into a folder with a trailing backslash.
/// `chosen` has an entry for each attachment. The message itself stays as it is; a failure with one
/// attachment is reported and costs no other. The host's observer hears of each, too. Raises when
/// the attachments cannot be told from each other any more, or for what nobody expects.
void SaveAttachments(const platform::MailItemPtr& item, const std::vector<bool>& chosen,
                     const std::string& folder, const SavingCaller& caller);

}  // namespace corvessa
