#include "windows/forms/visual_styles.h"

#include "win32/module.h"

namespace corvessa::windows {
namespace {

/// A function that the first systems of Outlook's time do not have; null there.
template <typename Function>
Function* Find(const char* name) {
  const auto address = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
}

/// The system's own colours count then, which a theme need not have.
bool IsHighContrast() {
  HIGHCONTRASTW facts = {};
  facts.cbSize = sizeof facts;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, facts.cbSize, &facts, 0) &&
         (facts.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

}  // namespace

VisualStyles::VisualStyles() {
  const auto create = Find<decltype(CreateActCtxW)>("CreateActCtxW");
  if (!create) return;
  ACTCTXW context = {};
  context.cbSize = sizeof context;
  context.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
  context.hModule = win32::ThisModule();
  context.lpResourceName = reinterpret_cast<LPCWSTR>(ISOLATIONAWARE_MANIFEST_RESOURCE_ID);
  context_ = create(&context);
}

VisualStyles::~VisualStyles() {
  const auto release = Find<decltype(ReleaseActCtx)>("ReleaseActCtx");
  if (context_ != INVALID_HANDLE_VALUE && release) release(context_);
}

VisualStyles::Use::Use(const VisualStyles& styles) {
  const auto activate = Find<decltype(ActivateActCtx)>("ActivateActCtx");
  if (IsHighContrast()) return;
  if (styles.context_ != INVALID_HANDLE_VALUE && activate) activate(styles.context_, &cookie_);
}

VisualStyles::Use::~Use() {
  const auto deactivate = Find<decltype(DeactivateActCtx)>("DeactivateActCtx");
  if (cookie_ != 0 && deactivate) deactivate(0, cookie_);
}

}  // namespace corvessa::windows
