#include "system/process.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <io.h>
#include <windows.h>

#include "base/secret_string.h"

namespace corvessa::system {

void SetDefaultVariable(const char* name, const char* value) {
  if (std::getenv(name) == nullptr) _putenv_s(name, value);
}

bool LockSecrets() {
  const auto memory = SecretArena();
  return VirtualLock(memory.data(), memory.size()) != FALSE;
}

// The stream itself cannot be exchanged here; what it writes to can.
QuietErrorStream::QuietErrorStream() : saved_(nullptr) {
  const int number = _fileno(stderr);
  if (number < 0) return;
  std::fflush(stderr);
  FILE* const nothing = std::fopen("NUL", "w");
  if (nothing == nullptr) return;
  saved_ = reinterpret_cast<void*>(static_cast<intptr_t>(_dup(number) + 1));
  _dup2(_fileno(nothing), number);
  std::fclose(nothing);
}

QuietErrorStream::~QuietErrorStream() {
  const int saved = static_cast<int>(reinterpret_cast<intptr_t>(saved_)) - 1;
  if (saved < 0) return;
  std::fflush(stderr);
  _dup2(saved, _fileno(stderr));
  _close(saved);
}

}  // namespace corvessa::system
