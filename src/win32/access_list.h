#pragma once

#include <memory>
#include <windows.h>

/// Access lists of files and folders.
namespace corvessa::win32 {

struct LocalFreeing {
  void operator()(void* memory) const { LocalFree(memory); }
};

/// The access list of what is private: the user and the system itself may use it, and nothing is
/// inherited from the folder above. Files in a private folder get the same list.
class PrivateAccess {
 public:
  PrivateAccess();

  /// For the functions that create something; valid as long as this object.
  SECURITY_ATTRIBUTES* Attributes() { return &attributes_; }
  /// Replaces the list of a file, which must be open with WRITE_DAC.
  void ApplyTo(HANDLE file) const;

 private:
  std::unique_ptr<void, LocalFreeing> descriptor_;
  SECURITY_ATTRIBUTES attributes_{};
};

/// Gives `to` (open with WRITE_DAC) the access list of `from` (open with READ_CONTROL).
void CopyAccessList(HANDLE from, HANDLE to);

}  // namespace corvessa::win32
