#pragma once

/// What this process and its libraries need of the system. Implemented for each system in a sibling
/// folder.
namespace corvessa::system {

/// Sets a variable of this process's environment, for a library that reads it, unless the user has
/// set it.
void SetDefaultVariable(const char* name, const char* value);

/// Keeps the memory of secrets (see SecretArena) out of the swap file from now on. False where the
/// system does not allow it.
bool LockSecrets();

/// Keeps off the user's terminal what a library writes to the C stream `stderr`, while it lives.
/// For one thread; where a program has no such stream it does nothing.
class QuietErrorStream {
 public:
  QuietErrorStream();
  ~QuietErrorStream();
  QuietErrorStream(const QuietErrorStream&) = delete;
  QuietErrorStream& operator=(const QuietErrorStream&) = delete;

 private:
  void* saved_;
};

}  // namespace corvessa::system
