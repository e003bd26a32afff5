#include "base/debug_info.h"
#include "base/guard.h"
#include "base/paths.h"
#include "base/text.h"
#include "branding/message_box.h"
#include "crypto/crypto_operations.h"
#include "crypto/operation_progress.h"
#include "crypto/stored_files.h"
#include "crypto/temp_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/system.h"
#include "platform/ui.h"

namespace corvessa {
namespace {

using Debug_Info::TraceLog;

platform::Files& Files() {
  return platform::Host().files;
}

bool Exists(std::string_view path) {
  return Files().FolderExists(path) || Files().FileExists(path);
}

std::string FolderName(const std::string& parent, int number) {
  return parent + std::string(kWorkFolderPrefix) + Decimal(number);
}

/// A name that is not taken yet: drawn by lot, and by trying them all when the lot has no luck.
std::string FreeFolder(const std::string& parent) {
  for (int draw = 0; draw < kWorkFolders; ++draw) {
    const auto number = static_cast<int>(platform::Host().clock.Random() * kWorkFolders);
    if (std::string folder = FolderName(parent, number); !Exists(folder)) return folder;
  }
  for (int number = 0; number < kWorkFolders; ++number) {
    if (std::string folder = FolderName(parent, number); !Exists(folder)) return folder;
  }
  Raise(kPathFileAccess);
}

/// Makes a new folder in a folder; with its trailing backslash.
std::string MakeFolderIn(const std::string& parent) {
  const std::string folder = FreeFolder(parent);
  Files().CreateFolder(folder);
  return folder + "\\";
}

void TraceFile(const AttachmentNode& node) {
  const std::string& path = node.sFilename;
  TraceLog([&] {
    return "EncryptAllAttachments - Encrypting \"" + path + " (" + node.sDisplayName + ")";
  });
  TraceLog([&] { return "EncryptAllAttachments - Full path to temporary file: " + path; });
  TraceLog([&] {
    return "EncryptAllAttachments - Full filename to temporary file: " +
           std::string(FileNameOf(path));
  });
  TraceLog([&] {
    return "EncryptAllAttachments - File Attributes: " + Decimal(Files().Attributes(path));
  });
  Debug_Info::TraceFileAttributes(path);
  TraceLog([&] { return "EncryptAllAttachments - File Size: " + Decimal(Files().Length(path)); });
}

/// A signature that the user attached makes way for the new one, but goes back into the item should
/// the message not be sent.
void SetAsideOldSignature(AttachmentNode& node) {
  if (node.original_filename != node.sFilename) return;
  const std::string folder = MakeFolderIn(node.sDir);
  const std::string kept = folder + std::string(FileNameOf(node.sFilename));
  const Error error = Attempt([&] { Files().Copy(node.sFilename, kept); });
  if (error.number != 0) {
    RemoveFolderIfEmpty(folder);
    throw Error(error);
  }
  node.original_filename = kept;
}

/// Writes the signature beside its data file and makes it an attachment of its own.
void StoreSignature(const AttachmentNode& data, std::string_view signature,
                    AttachmentNodes& nodes) {
  AttachmentNodePtr node = FindByPath(nodes, data.sFilename + ".sig");
  if (node) {
    SetAsideOldSignature(*node);
  } else {
    node = std::make_shared<AttachmentNode>();
    node->sDisplayName = data.sDisplayName + ".sig";
    node->sFilename = data.sFilename + ".sig";
    node->sDir = data.sDir;
    node->bDetachedSig = true;
    nodes.push_back(node);
  }
  Files().Write(node->sFilename, signature);
}

/// What a failed encryption may have begun to write.
void DropFailedOutput(const std::string& folder, const std::string& path) {
  Ignoring([&] {
    if (Exists(path)) DeleteOrQueue(path);
  });
  RemoveFolderIfEmpty(folder);
}

void AdoptEncrypted(AttachmentNode& node, const std::string& folder, const std::string& path) {
  TraceLog("EncryptAllAttachments - EF2F: Adding original to delete queue");
  QueueForDeletion(node.sFilename);
  TraceLog("EncryptAllAttachments - EF2F: File encrypted, updating path in attachment node");
  node.sDir = folder;
  node.sFilename = path;
}

/// Deletes the engine's signature files when signing is over, however it ended.
class EngineFiles {
 public:
  EngineFiles() = default;
  ~EngineFiles() {
    EmptiedFolders folders;
    for (const std::string& path : paths_) DeleteOrQueue(path, folders);
  }
  EngineFiles(const EngineFiles&) = delete;
  EngineFiles& operator=(const EngineFiles&) = delete;
  void Add(std::string path) { paths_.push_back(std::move(path)); }

 private:
  std::vector<std::string> paths_;
};

}  // namespace

std::int32_t CryptoOperations::SignAllAttachments(const platform::MailItemPtr& item,
                                                  AttachmentNodes& attachments) {
  return Guarded("CryptoOperations::SignAllAttachments - ", kLocalFailure, [&]() -> std::int32_t {
    EngineFiles engine_files;
    const AttachmentNodes present = attachments;
    for (const AttachmentNodePtr& node : present) {
      TraceLog("SignAllAttachments - Found attachment");
      if (IsSignature(node->sFilename, present, item) && HoldsSignature(node->sFilename)) continue;
      TraceLog("SignAllAttachments - Signing attachment (not a sig)");
      // A document may have the name that this file's signature would get.
      const AttachmentNodePtr namesake = FindByPath(attachments, node->sFilename + ".sig");
      if (namesake && !HoldsSignature(namesake->sFilename)) {
        TellError("The attachment \"" + ForDisplay(node->sDisplayName) +
                  "\" cannot be signed: another one has the name of its signature.");
        return platform::engine_status::kSignatureTrouble;
      }
      std::string signature_path;
      const platform::EngineStatus status = Engine()->SignFile(node->sFilename, signature_path);
      engine_files.Add(signature_path);
      if (status != 0) return status;
      // Armour in the form that a text file has on the systems that will read it.
      StoreSignature(*node, WithCrLf(Files().Read(signature_path)), attachments);
    }
    return 0;
  });
}

std::int32_t CryptoOperations::EncryptAttachment(AttachmentNode& node,
                                                 const platform::IEngineStringVector& recipients) {
  TraceFile(node);
  const std::string folder = MakeFolderIn(node.sDir);
  const std::string encrypted = folder + std::string(FileNameOf(node.sFilename));
  TraceLog([&] { return "EncryptAllAttachments - EF2F: Temp encrypted file: " + encrypted; });
  std::int32_t status = kLocalFailure;
  const Error error = Attempt([&] {
    platform::Host().ui.DoEvents();
    status = Engine()->EncryptFileToFile(recipients, node.sFilename, encrypted);
    platform::Host().ui.DoEvents();
  });
  if (error.number != 0 || status != 0) DropFailedOutput(folder, encrypted);
  if (error.number != 0) throw Error(error);
  TraceLog(
      [&] { return "EncryptAllAttachments - EF2F: Encrypted error code: " + Decimal(status); });
  if (status == 0) AdoptEncrypted(node, folder, encrypted);
  TraceLog([&] { return "EncryptAllAttachments - Encrypted \"" + node.sFilename; });
  return status;
}

std::int32_t CryptoOperations::EncryptAllAttachments(
    const platform::MailItemPtr& item, AttachmentNodes& attachments,
    const platform::IEngineStringVector& recipients) {
  std::int32_t status = 0;
  StageTrace trace("EncryptAllAttachments", status);
  return Guarded("CryptoOperations::EncryptAllAttachments - ", kLocalFailure, [&] {
    trace.Begin(1);
    trace("Encrypting nodes");
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): events may change the list.
    const AttachmentNodes present = attachments;
    for (const AttachmentNodePtr& node : present) {
      if (IsSignature(node->sFilename, present, item) && HoldsSignature(node->sFilename)) continue;
      const std::int32_t outcome = EncryptAttachment(*node, recipients);
      if (outcome != 0) status = outcome;
    }
    trace.Begin(2);
    trace("Finished");
    return status;
  });
}

}  // namespace corvessa
