#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/debug_info.h"
#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/operation_progress.h"
#include "crypto/stored_files.h"
#include "forms/frm_progress.h"
#include "platform/files.h"
#include "platform/host.h"

namespace corvessa {
namespace {

/// What Outlook says of an embedded item, which has no file.
constexpr std::string_view kNoDataSource =
    "Cannot save the attachment. Cannot add the "
    "attachment; no data source was provided.";

platform::Files& Files() {
  return platform::Host().files;
}

void TraceStage(std::string_view stage, std::string_view detail = {}) {
  Debug_Info::TraceLog(
      [&] { return std::string(":StoreAllAttachments/").append(stage).append(detail); });
}

void StoreAttachment(platform::Attachment& attachment, const AttachmentNodePtr& node) {
  if (node->sDir != node->message_folder && !Files().FolderExists(node->sDir)) {
    Files().CreateFolder(node->sDir);
  }
  attachment.SaveAsFile(node->sFilename);
}

void StoreAll(const ListedAttachments& listed, AttachmentNodes& nodes) {
  const std::vector<std::string>& names = listed.file_names;
  if (names.empty()) return;
  if (std::ranges::find(names, std::string()) != names.end()) {
    Raise(kPathFileAccess, std::string(kNoDataSource));
  }
  const std::vector<StoredPlace> places = StoredPlaces(names);
  const std::string folder = CreatePrivateFolder();
  TraceStage("2");
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto counter = static_cast<std::int32_t>(i + 1);
    ShowCountedStep("Storing attachments", counter, names.size());
    TraceStage("3/", Decimal(counter));
    if (places[i].name != names[i]) TraceStage("3a/", Decimal(counter));
    if (places[i].subfolder > 0) TraceStage("3b/", Decimal(counter));
    // On the list before there is a file, so that whatever gets written is known to it.
    nodes.push_back(MakeNode(folder, places[i], listed.display_names[i]));
    const AttachmentNodePtr node = nodes.back();
    StoreAttachment(*listed.attachments[i], node);
    TraceStage("4/", Decimal(counter));
  }
}

using FileNames = std::unordered_set<std::string>;

/// The names of the nodes' files, in lower case.
FileNames FileNamesOf(const AttachmentNodes& nodes) {
  FileNames names;
  for (const AttachmentNodePtr& node : nodes) names.insert(LCase(FileNameOf(node->sFilename)));
  return names;
}

bool IsSignatureOfOne(std::string_view path, const FileNames& names) {
  return HasSignatureName(path) && names.contains(LCase(SignedName(FileNameOf(path))));
}

/// Empty if the original of a file is asked for that did not come from the item.
const std::string& PathToInsert(const AttachmentNode& node, bool originals) {
  return originals ? node.original_filename : node.sFilename;
}

std::string FailureText(const Error& error) {
  constexpr std::string_view kStart = "Cannot save the attachment. ";
  if (error.description.starts_with(kStart)) return error.description;
  return std::string(kStart) + error.description;
}

}  // namespace

void CryptoOperations::KillAllFiles(AttachmentNodes& attachments) {
  DeleteStoredFiles(attachments);
}

bool CryptoOperations::StoreAllAttachments(const SafeItem& item, AttachmentNodes& attachments,
                                           bool /*no_options_bar*/) {
  TraceStage("1");
  const Error error = Attempt([&] {
    StoreAll(item.TakeAttachments(), attachments);
    const auto names = FileNamesOf(attachments);
    for (const AttachmentNodePtr& node : attachments) {
      node->bDetachedSig = (IsSignatureOfOne(node->sFilename, names) ||
                            IsSignature(node->sFilename, attachments, item.Item())) &&
                           HoldsReadableSignature(node->sFilename);
    }
  });
  if (error.number == 0) {
    TraceStage("5");
    return true;
  }
  TraceStage("4a/", error.description);
  KillAllFiles(attachments);
  TellError(FailureText(error));
  return false;
}

bool CryptoOperations::ClearAttachments(const platform::MailItemPtr& item) {
  return Guarded("CryptoOperations::ClearAttachments - ", false, [&] {
    const auto list = item->Attachments();
    for (std::int32_t i = list->Count(); i >= 1; --i) list->Remove(i);
    return true;
  });
}

bool CryptoOperations::ReInsertAttachments(const platform::MailItemPtr& item,
                                           const AttachmentNodes& attachments, bool originals) {
  constexpr std::string_view kPrefix = "CryptoOperations::ReInsertAttachments - ";
  return Guarded(kPrefix, false, [&] {
    // Before the item gives its own attachments away for processed files, all of these have to be
    // there. One that has given them away already gets what there is.
    if (!originals && item->Attachments()->Count() > 0) RequireFiles(attachments);
    const bool cleared = ClearAttachments(item);
    if (!cleared && !originals) return false;
    // Attachments are taken out from the last one on: the first ones are still there.
    const auto list = item->Attachments();
    std::int32_t still_there = list->Count();
    bool all_inserted = cleared;
    const bool all_seen =
        ForEachAttachment(attachments, "Loading attachments", [&](const AttachmentNodePtr& node) {
          const std::string& path = PathToInsert(*node, originals);
          if (path.empty() || still_there-- > 0) return;
          // One that fails must not cost the rest.
          all_inserted &= Guarded(kPrefix, false, [&] {
            list->Add(path, node->sDisplayName);
            return true;
          });
        });
    return all_seen && all_inserted;
  });
}

bool CryptoOperations::IsSignature(std::string_view path, const AttachmentNodes& attachments,
                                   const platform::MailItemPtr& item) {
  if (!HasSignatureName(path)) return false;
  return Guarded("CryptoOperations::IsSignature - ", false, [&] {
    const std::string_view data_name = SignedName(FileNameOf(path));
    for (const AttachmentNodePtr& node : attachments) {
      if (IsSameFile(FileNameOf(node->sFilename), data_name)) return true;
    }
    const auto list = item->Attachments();
    const std::int32_t count = list->Count();
    for (std::int32_t i = 1; i <= count; ++i) {
      if (IsSameFile(list->Item(i)->DisplayName(), data_name)) return true;
    }
    return false;
  });
}

bool CryptoOperations::HasEncryptedOrSignedAttachments(const AttachmentNodes& attachments) {
  return std::ranges::any_of(attachments, [](const AttachmentNodePtr& node) {
    return node->lDecryptStatus != decrypt_status::kNotEncrypted ||
           node->lSignStatus != sign_status::kNone;
  });
}

}  // namespace corvessa
