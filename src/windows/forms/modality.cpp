#include "windows/forms/modality.h"

#include <algorithm>

namespace corvessa::windows {
namespace {

bool IsOrBelongsTo(HWND window, HWND owner) {
  for (; window; window = GetWindow(window, GW_OWNER)) {
    if (window == owner) return true;
  }
  return false;
}

}  // namespace

void Modality::Begin(HWND window) {
  modal_.push_back(window);
  Apply();
}

void Modality::End(HWND window) {
  const auto found = std::find(modal_.rbegin(), modal_.rend(), window);
  if (found == modal_.rend()) return;
  modal_.erase(std::next(found).base());
  Apply();
}

BOOL CALLBACK Modality::Disable(HWND window, LPARAM self_pointer) {
  auto& self = *reinterpret_cast<Modality*>(self_pointer);
  const HWND top = self.modal_.back();
  const bool is_left = top && IsOrBelongsTo(window, top);
  if (is_left || !IsWindowVisible(window) || !IsWindowEnabled(window)) return TRUE;
  EnableWindow(window, FALSE);
  self.disabled_.insert(window);
  return TRUE;
}

void Modality::Apply() {
  const auto enable = [&](HWND window) {
    const bool is_free = modal_.empty() || IsOrBelongsTo(window, modal_.back());
    if (is_free) EnableWindow(window, TRUE);
    return is_free;
  };
  std::erase_if(disabled_, enable);
  if (!modal_.empty()) {
    EnumThreadWindows(GetCurrentThreadId(), Disable, reinterpret_cast<LPARAM>(this));
  }
}

}  // namespace corvessa::windows
