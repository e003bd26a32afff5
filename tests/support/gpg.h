#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_folder.h"

namespace corvessa::testing {

/// The gpg program with a home of its own: the other implementation that what the add-in makes is
/// read with. Its agent ends with this object.
class Gpg {
 public:
  struct Outcome {
    int exit_code = -1;
    std::string output;
    /// Its messages and status lines.
    std::string messages;
  };

  Gpg();
  ~Gpg();
  Gpg(const Gpg&) = delete;
  Gpg& operator=(const Gpg&) = delete;

  /// Takes keys in. Secret ones are protected by the passphrase, which later runs answer with.
  void Import(std::string_view keys, std::string_view passphrase = {});
  Outcome Run(const std::vector<std::string>& arguments);
  /// The outcome of decrypting, or of checking a clear-signed text.
  Outcome Read(std::string_view message);
  /// Writes a file into its home; gives the path.
  std::string Write(std::string_view name, std::string_view content);

 private:
  std::string Path(std::string_view name) const { return (home_.Path() / name).string(); }

  TempFolder home_;
};

}  // namespace corvessa::testing
