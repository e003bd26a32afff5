#include "win32/access_list.h"

#include <aclapi.h>
#include <cstddef>
#include <sddl.h>
#include <string>

#include "system/errors.h"
#include "win32/handle.h"

namespace corvessa::win32 {
namespace {

void CheckResult(DWORD error) {
  if (error != ERROR_SUCCESS) system::Throw(ErrorCode(error));
}

/// The user that this process runs as, as text: "S-1-5-21-…".
std::wstring UserId() {
  HANDLE opened = nullptr;
  Check(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened));
  const Handle token(opened);
  alignas(TOKEN_USER) std::byte buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof buffer;
  Check(GetTokenInformation(token.Get(), TokenUser, buffer, size, &size));
  wchar_t* text = nullptr;
  Check(ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid, &text));
  const std::unique_ptr<wchar_t, LocalFreeing> owned(text);
  return text;
}

void SetAccessList(HANDLE file, ACL* list, SECURITY_INFORMATION protection) {
  CheckResult(SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | protection, nullptr,
                              nullptr, list, nullptr));
}

}  // namespace

PrivateAccess::PrivateAccess() {
  const std::wstring full_access = L"(A;OICI;FA;;;";
  const std::wstring list = L"D:P" + full_access + UserId() + L")" + full_access + L"SY)";
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  Check(ConvertStringSecurityDescriptorToSecurityDescriptorW(list.c_str(), SDDL_REVISION_1,
                                                             &descriptor, nullptr));
  descriptor_.reset(descriptor);
  attributes_ = {sizeof attributes_, descriptor, /*bInheritHandle=*/FALSE};
}

void PrivateAccess::ApplyTo(HANDLE file) const {
  ACL* list = nullptr;
  BOOL is_present = FALSE, is_default = FALSE;
  Check(GetSecurityDescriptorDacl(descriptor_.get(), &is_present, &list, &is_default));
  SetAccessList(file, list, PROTECTED_DACL_SECURITY_INFORMATION);
}

void CopyAccessList(HANDLE from, HANDLE to) {
  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  CheckResult(GetSecurityInfo(from, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              &list, nullptr, &descriptor));
  const std::unique_ptr<void, LocalFreeing> owned(descriptor);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  Check(GetSecurityDescriptorControl(descriptor, &control, &revision));
  SetAccessList(to, list,
                control & SE_DACL_PROTECTED ? PROTECTED_DACL_SECURITY_INFORMATION
                                            : UNPROTECTED_DACL_SECURITY_INFORMATION);
}

}  // namespace corvessa::win32
