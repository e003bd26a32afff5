#include "windows/system/clipboard.h"

#include <cstring>
#include <windows.h>

#include "win32/utf16.h"
#include "windows/system/bitmap.h"

namespace corvessa::windows {
namespace {

/// GMEM_MOVEABLE, and GMEM_SHARE, which the clipboard of 16-bit Windows asked for.
constexpr UINT kShared = 0x2002;

}  // namespace

void WindowsClipboard::SetPicture(const platform::Picture& picture) {
  const HBITMAP bitmap = MakeBitmap(picture);
  if (!bitmap) return;
  // The clipboard owns what it is given.
  bool is_given = false;
  if (OpenClipboard(nullptr)) {
    EmptyClipboard();
    is_given = SetClipboardData(CF_BITMAP, bitmap) != nullptr;
    CloseClipboard();
  }
  if (!is_given) DeleteObject(bitmap);
}

bool WindowsClipboard::Open() {
  return OpenClipboard(nullptr);
}

void WindowsClipboard::Close() {
  CloseClipboard();
}

std::uint32_t WindowsClipboard::RegisterFormat(std::string_view name) {
  return RegisterClipboardFormatW(win32::ShownUtf16(name).c_str());
}

std::optional<std::vector<std::uint8_t>> WindowsClipboard::GetData(std::uint32_t format) {
  const HANDLE block = GetClipboardData(format);
  const auto* const bytes = block ? static_cast<const std::uint8_t*>(GlobalLock(block)) : nullptr;
  if (!bytes) return std::nullopt;
  std::vector<std::uint8_t> data(bytes, bytes + GlobalSize(block));
  GlobalUnlock(block);
  return data;
}

bool WindowsClipboard::SetData(std::uint32_t format, const std::vector<std::uint8_t>& block) {
  const HGLOBAL copy = GlobalAlloc(kShared, block.size());
  void* const bytes = copy ? GlobalLock(copy) : nullptr;
  if (!bytes) {
    GlobalFree(copy);
    return false;
  }
  std::memcpy(bytes, block.data(), block.size());
  GlobalUnlock(copy);
  if (SetClipboardData(format, copy)) return true;
  GlobalFree(copy);
  return false;
}

}  // namespace corvessa::windows
