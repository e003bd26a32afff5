#include "../entries.h"

#include <aclapi.h>
#include <cstdlib>

namespace corvessa::system {
namespace {

struct AccessList {
  explicit AccessList(const fs::path& entry) {
    GetNamedSecurityInfoW(entry.c_str(), SE_FILE_OBJECT,
                          OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr,
                          &list, nullptr, &descriptor);
  }
  ~AccessList() { LocalFree(descriptor); }

  PSID owner = nullptr;
  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
};

}  // namespace

bool IsPrivate(const fs::path& entry) {
  const AccessList access(entry);
  for (DWORD i = 0; access.list != nullptr && i < access.list->AceCount; ++i) {
    void* found = nullptr;
    GetAce(access.list, i, &found);
    const auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(found);
    const PSID who = const_cast<DWORD*>(&ace->SidStart);
    const bool is_allowed = ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && ace->Mask != 0;
    if (is_allowed && !EqualSid(who, access.owner) && !IsWellKnownSid(who, WinLocalSystemSid)) {
      return false;
    }
  }
  return access.list != nullptr;
}

void Publish(const fs::path& file) {
  SetNamedSecurityInfoW(const_cast<wchar_t*>(file.c_str()), SE_FILE_OBJECT,
                        DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr);
}

// Wine cannot make links itself, but can start a program of the system that it runs on.
void LinkFolder(const fs::path& folder, const fs::path& link) {
  const fs::path old = fs::current_path();
  fs::current_path(link.parent_path());
  std::wstring command =
      L"ln -s " + fs::relative(folder).generic_wstring() + L" " + link.filename().native();
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  CreateProcessW(L"Z:\\bin\\ln", command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                 &start, &process);
  fs::current_path(old);
  for (int tries = 0; tries < 100 && !fs::exists(link); ++tries) Sleep(20);
}

}  // namespace corvessa::system
