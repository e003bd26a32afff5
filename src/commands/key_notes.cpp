#include "commands/key_notes.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "system/files.h"

namespace corvessa {
namespace {

// A line is "KIND<tab>SUBJECT<tab>REST": "source", a fingerprint and a phrase, or "compared", an
// address, and a fingerprint with the date behind another tab.
constexpr std::string_view kSource = "source\t";
constexpr std::string_view kCompared = "compared\t";

std::filesystem::path NotesPath(const std::filesystem::path& folder) {
  return folder / "keys.notes";
}

/// The text up to the separator, which `rest` loses with it.
std::string_view TakeUpTo(std::string_view& rest, char separator) {
  const std::size_t end = rest.find(separator);
  const std::string_view taken = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return taken;
}

std::string LineKey(std::string_view kind, std::string_view subject) {
  return std::string(kind).append(subject);
}

}  // namespace

KeyNotes::KeyNotes(std::filesystem::path keys_folder) : folder_(std::move(keys_folder)) {
  Load();
}

void KeyNotes::Load() {
  lines_.clear();
  auto file = system::File::OpenIfThere(NotesPath(folder_));
  if (!file) return;
  const std::string text = file.ReadAll();
  for (std::string_view left = text; !left.empty();) {
    std::string_view rest = TakeUpTo(left, '\n');
    const std::string kind = std::string(TakeUpTo(rest, '\t')) + "\t";
    const std::string_view subject = TakeUpTo(rest, '\t');
    lines_.insert_or_assign(LineKey(kind, subject), std::string(rest));
  }
}

void KeyNotes::Change(const std::function<void()>& edit) {
  system::MakePrivateFolder(folder_, system::File::Links::kFollow);
  const auto lock = system::FileLock::Wait(folder_ / "keys.notes.lock");
  Load();
  edit();
  std::string text;
  for (const auto& [key, rest] : lines_) text.append(key).append("\t").append(rest).append("\n");
  system::AtomicFile file(NotesPath(folder_));
  file.Write(text);
  file.CommitDurably();
}

std::string KeyNotes::Source(std::string_view fingerprint) const {
  const auto found = lines_.find(LineKey(kSource, fingerprint));
  return found == lines_.end() ? std::string() : found->second;
}

std::optional<Comparison> KeyNotes::FindComparison(std::string_view address) const {
  const auto found = lines_.find(LineKey(kCompared, address));
  if (found == lines_.end()) return std::nullopt;
  std::string_view rest = found->second;
  const std::string_view fingerprint = TakeUpTo(rest, '\t');
  return Comparison{std::string(fingerprint), std::string(rest)};
}

bool KeyNotes::IsCompared(std::string_view address, std::string_view fingerprint) const {
  const auto comparison = FindComparison(address);
  return comparison && comparison->fingerprint == fingerprint;
}

void KeyNotes::SetSource(std::string_view fingerprint, std::string_view phrase) {
  Change([&] { lines_.insert_or_assign(LineKey(kSource, fingerprint), ForDisplay(phrase)); });
}

void KeyNotes::AddSource(std::span<const std::string> fingerprints, std::string_view phrase) {
  const auto is_known = [&](const std::string& one) { return !Source(one).empty(); };
  if (std::ranges::all_of(fingerprints, is_known)) return;
  Change([&] {
    for (const auto& one : fingerprints)
      lines_.try_emplace(LineKey(kSource, one), ForDisplay(phrase));
  });
}

void KeyNotes::SetCompared(std::string_view address, const Comparison& comparison) {
  Change([&] {
    lines_.insert_or_assign(LineKey(kCompared, address),
                            comparison.fingerprint + "\t" + comparison.date);
  });
}

void KeyNotes::ForgetSource(std::string_view fingerprint) {
  Change([&] { lines_.erase(LineKey(kSource, fingerprint)); });
}

}  // namespace corvessa
