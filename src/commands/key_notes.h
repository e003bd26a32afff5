#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What a key itself cannot say: where it came from, and whether its owner confirmed it. Kept in a
/// text file beside the rings, which programs that know nothing of it leave alone.
namespace corvessa {

/// The comparison of a key with what its owner says is the right one.
struct Comparison {
  std::string fingerprint;  ///< capital hexadecimal
  std::string date;         ///< of the comparison, as "2026-11-22"
};

/// All notes of a profile, as they were when this was made. Each change is on disk when its call
/// returns, and changes that another process made meanwhile are kept. Throws std::system_error when
/// the file cannot be read or written. A line that cannot be understood is kept as it is.
class KeyNotes {
 public:
  explicit KeyNotes(std::filesystem::path keys_folder);

  /// A phrase such as "imported from bob.asc on 2026-11-22"; empty if nothing is known.
  std::string Source(std::string_view fingerprint) const;
  /// The comparison for an address in lower case; nothing if there was none.
  std::optional<Comparison> FindComparison(std::string_view address) const;
  /// Whether the address has been compared and this is the key.
  bool IsCompared(std::string_view address, std::string_view fingerprint) const;

  void SetSource(std::string_view fingerprint, std::string_view phrase);
  /// For those of the keys of which nothing is known.
  void AddSource(std::span<const std::string> fingerprints, std::string_view phrase);
  void SetCompared(std::string_view address, const Comparison& comparison);
  /// Forgets where a removed key came from. Comparisons stay: a later key must not pass for the
  /// one that was compared.
  void ForgetSource(std::string_view fingerprint);

 private:
  void Load();
  void Change(const std::function<void()>& edit);

  std::filesystem::path folder_;
  /// From a line's first two fields to the rest, as they stand in the file.
  std::map<std::string, std::string, std::less<>> lines_;
};

}  // namespace corvessa
