#include <algorithm>

#include "engine/adks.h"
#include "engine/armour.h"
#include "engine/digest.h"
#include "engine/librnp_engine.h"
#include "engine/local_files.h"
#include "engine/operations.h"
#include "engine/packets.h"

namespace corvessa::engine {
namespace {

// Larger than any armoured signature of a few hundred signers.
constexpr std::size_t kMaxSignatureFile = std::size_t{1} << 20;
// Deflate can promise a thousand times what arrives and fill the disk; what people send to one
// another stays far below this.
constexpr std::uint64_t kMaxExpansion = 64;
constexpr std::uint64_t kAlwaysAllowed = std::uint64_t{256} << 20;
constexpr std::size_t kPieceSize = std::size_t{64} << 10;
constexpr std::string_view kArmourStart = "-----BEGIN PGP MESSAGE-----";

/// Pieces of the start, the middle and the end.
std::string Samples(const LocalFile& file) {
  constexpr std::uint64_t kPiece = 16384;
  const std::uint64_t size = file.Size();
  std::string samples;
  for (const std::uint64_t offset : {std::uint64_t{0}, size / 2, size - std::min(size, kPiece)}) {
    samples += file.ReadAt(offset, kPiece);
  }
  return samples;
}

bool StartsWithArmour(std::string_view start) {
  const auto first = start.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && start.substr(first).starts_with(kArmourStart);
}

bool HideRecipientsOf(FileSink& file) {
  const LocalFile written = file.OpenWritten();
  std::string start = written.ReadAt(0, kMaxMessageStart);
  if (!HideRecipients(start)) return false;
  file.Overwrite(start);
  return true;
}

[[noreturn]] void FailNoMessage(std::string_view path) {
  Fail(kBadFormat, std::string(path) + " is no encrypted file.");
}

[[noreturn]] void FailDamagedMessage(std::string_view path) {
  Fail(kBadContent, "The OpenPGP message in " + std::string(path) + " is damaged.",
       {trouble::kDamaged, {}, {}});
}

[[noreturn]] void FailDamagedArmour(std::string_view path) {
  Fail(kBadContent, "The armour of " + std::string(path) + " is damaged.",
       {trouble::kDamaged, {}, {}});
}

/// The file's bytes out of their armour, in a nameless file.
LocalFile Dearmoured(const LocalFile& armoured, const std::filesystem::path& folder,
                     std::string_view path) {
  FileSink binary(folder / "dearmoured");
  FileSource source(armoured);
  ArmourReader reader(binary);
  std::string piece(kPieceSize, '\0');
  while (const auto size = source.Read(piece.data(), piece.size())) {
    reader.Write(std::string_view(piece).substr(0, size));
  }
  LocalFile reopened = binary.OpenWritten();
  const std::string start = reopened.ReadAt(0, kMaxMessageStart);
  if (!ReadEncryptedMessageStart(start)) {
    if (BeginsWithSessionKey(start)) FailDamagedMessage(path);
    // A text that only looks like armour at its start is an ordinary file.
    if (!reader.IsWhole() || start.empty() || BeginsUnencrypted(start)) FailNoMessage(path);
    FailDamagedMessage(path);
  }
  if (!reader.IsWhole()) FailDamagedArmour(path);
  return reopened;
}

/// Nothing stands round the block, and its headers are those of OpenPGP.
bool IsOnlyArmour(const ArmourBlock& armour) {
  static constexpr std::string_view kHeaders[] = {"Version", "Comment", "MessageID", "Hash",
                                                  "Charset"};
  constexpr std::string_view kBlanks = " \t\r\n";
  if ((std::string(armour.before) += armour.after).find_first_not_of(kBlanks) !=
      std::string::npos) {
    return false;
  }
  std::string_view lines = armour.block;
  for (;;) {
    lines.remove_prefix(std::min(lines.find('\n'), lines.size() - 1) + 1);
    const auto line = lines.substr(0, lines.find('\n'));
    if (line.find_first_not_of(kBlanks) == std::string_view::npos) return !lines.empty();
    if (std::ranges::find(kHeaders, line.substr(0, line.find(':'))) == std::end(kHeaders)) {
      return false;
    }
  }
}

/// The lines of a block between its header and its end, without blanks.
std::string ContentLines(std::string_view block) {
  const auto begin = std::min(block.find("\n\n"), block.find("\n\r\n"));
  std::string lines(block.substr(0, block.rfind("\n-----END")).substr(begin));
  std::erase_if(
      lines, [](char c) { return std::string_view(" \t\r\n").find(c) != std::string_view::npos; });
  return lines;
}

/// The block holds these bytes, with their checksum or without, and no more.
bool HoldsOnly(std::string_view block, std::string_view bytes) {
  const auto wanted = ContentLines(Armour(bytes, "signature", {}));
  const auto lines = ContentLines(block);
  return lines == wanted || lines == wanted.substr(0, wanted.rfind('='));
}

/// A decrypted file by its path and what was written there; without the latter the start that all
/// of one path have.
std::string FileId(std::string_view path, std::string_view digest = {}) {
  return (std::string(path) += '\0') += digest;
}

std::string DigestOf(const LocalFile& file) {
  FileSource source(file);
  Digest digest;
  std::string piece(kPieceSize, '\0');
  while (const auto size = source.Read(piece.data(), piece.size())) {
    digest.Add(std::string_view(piece).substr(0, size));
  }
  return digest.Finish();
}

/// The binary signatures in a file of nothing else. EngineFailure -9: it is no such file; -3: its
/// armour is damaged.
std::string SignatureIn(std::string_view path, const std::filesystem::path& file) {
  std::string bytes = ReadWholeFile(file, kMaxSignatureFile);
  const auto armour = FindArmour(bytes, "SIGNATURE");
  if (armour && IsOnlyArmour(*armour)) {
    std::string binary = Dearmour(armour->block);
    // The block is a part of `bytes`.
    if (!HoldsOnly(armour->block, binary)) FailDamagedArmour(path);
    bytes = std::move(binary);
  }
  if (!AreSignatures(bytes)) Fail(kBadFormat, std::string(path) + " holds no signature.");
  return bytes;
}

}  // namespace

EngineStatus LibrnpEngine::SignFile(std::string_view path, std::string& signature_path) {
  return Attempt([&] {
    const auto file = LocalFile::OpenForReading(config_.local_path(path));
    FileSource source(file);
    const std::string signature = SignDetached(keys_, source, signature_version_);
    const std::string temporary = config_.new_temporary_path();
    FileSink output(config_.local_path(temporary));
    output.Write(signature);
    RequireCaller();
    output.Commit();
    signature_path = temporary;
    return kDone;
  });
}

EngineStatus LibrnpEngine::EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                             std::string_view path,
                                             std::string_view encrypted_path) {
  return Attempt([&] {
    const auto file = LocalFile::OpenForReading(config_.local_path(path));
    const auto keys = RecipientKeys(recipients);
    FileSource source(file);
    FileSink output(config_.local_path(encrypted_path));
    Encrypt(keys_.ffi(), keys, IsWorthCompressing(Samples(file)), source, output);
    if (anonymous_ && !HideRecipientsOf(output)) FailToHide();
    RequireCaller();
    output.Commit();
    return kDone;
  });
}

EngineStatus LibrnpEngine::DecryptFileEx(std::string_view path,
                                         const platform::EngineAccount* account) {
  bool ignored = false;
  return DecryptSignedFile(path, account, ignored);
}

EngineStatus LibrnpEngine::DecryptSignedFile(std::string_view path,
                                             const platform::EngineAccount* account,
                                             bool& is_signed) {
  is_signed = false;
  return Attempt([&] {
    const auto local = config_.local_path(path);
    const auto original = LocalFile::OpenForReading(local);
    const auto watch = WatchDecryption(original.Size());
    LocalFile dearmoured;
    std::string start = original.ReadAt(0, kMaxMessageStart);
    if (StartsWithArmour(start)) {
      dearmoured = Dearmoured(original, local.parent_path(), path);
      start = dearmoured.ReadAt(0, kMaxMessageStart);
    } else if (!ReadEncryptedMessageStart(start)) {
      if (BeginsWithSessionKey(start)) FailDamagedMessage(path);
      FailNoMessage(path);
    }
    const LocalFile& binary = dearmoured.IsOpen() ? dearmoured : original;
    FileSink output(local);
    const EncryptedMessage message{start, [&](std::string_view replacement, std::size_t replaced) {
                                     return std::make_unique<FileSource>(binary, replacement,
                                                                         replaced);
                                   }};
    LimitedSink limited(output, std::max(kAlwaysAllowed, original.Size() * kMaxExpansion));
    auto signatures =
        Decrypt(keys_, {AccountAddress(account), message_passphrases_, SignerFinder()}, message,
                {limited, [&] {
                   output.Clear();
                   limited.Restart();
                 }});
    output.CopyPermissions(original);
    // Only what is signed is read once more: hashing takes as long as decrypting.
    auto id = FileId(path, signatures ? DigestOf(output.OpenWritten()) : std::string());
    RequireCaller();
    // The encrypted file may be the only copy of its content.
    output.CommitDurably();
    files_.Forget(FileId(path));
    is_signed = signatures.has_value();
    if (signatures) files_.Add(std::move(id), std::move(signatures->verdict));
    return kDone;
  });
}

EngineStatus LibrnpEngine::VerifyFile(std::string_view path, std::string_view signature_path,
                                      platform::IEngineStringVector& signers,
                                      platform::IEngineStringVector& unknown_signers) {
  return Attempt([&] {
    if (signature_path.empty()) {
      const auto* const found =
          files_.Find(FileId(path, DigestOf(LocalFile::OpenForReading(config_.local_path(path)))));
      if (!found) Fail(kBadFormat, std::string(path) + " was not signed when it was encrypted.");
      return Report(*found, signers, unknown_signers);
    }
    const std::string signature = SignatureIn(signature_path, config_.local_path(signature_path));
    if (path.empty()) Fail(kSignatureTrouble, "There is no file to check the signature against.");
    const auto file = LocalFile::OpenForReading(config_.local_path(path));
    FileSource source(file);
    return Report(Verify(keys_, SignerFinder(), source, signature, false), signers,
                  unknown_signers);
  });
}

EngineStatus LibrnpEngine::GetAddressADKs(std::string_view address,
                                          platform::IEngineStringVector& addresses) {
  return Attempt([&] {
    try {
      for (const auto& found : FindAdks(config_.adk_file, address)) addresses.Add(found);
    } catch (const EngineFailure& failure) {
      if (config_.on_bad_adk_file) config_.on_bad_adk_file(failure.message);
      throw;
    }
    return kDone;
  });
}

EngineStatus LibrnpEngine::GetRecipientADKs(std::string_view recipient,
                                            platform::IEngineStringVector& addresses) {
  return GetAddressADKs(recipient, addresses);
}

}  // namespace corvessa::engine
