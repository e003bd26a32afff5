#include "windows/support/form_windows.h"

#include "win32/utf16.h"

namespace corvessa::testing {
namespace {

struct Search {
  std::string name;
  HWND found = nullptr;
};

BOOL CALLBACK IsSearched(HWND window, LPARAM data) {
  auto& search = *reinterpret_cast<Search*>(data);
  if (NameOf(window) == search.name) search.found = window;
  return search.found == nullptr;
}

BOOL CALLBACK IsSearchedForm(HWND window, LPARAM data) {
  return !IsWindowVisible(window) || IsSearched(window, data);
}

}  // namespace

LRESULT Send(HWND window, UINT message, WPARAM word, LPARAM data) {
  DWORD_PTR result = 0;
  SendMessageTimeoutW(window, message, word, data, SMTO_ABORTIFHUNG, 5000, &result);
  return static_cast<LRESULT>(result);
}

std::string TextOf(HWND window) {
  std::wstring text(65536, L'\0');
  text.resize(static_cast<std::size_t>(
      Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return win32::ShownUtf8(text);
}

std::wstring ClassOf(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return name;
}

std::string NameOf(HWND window) {
  const auto atom = reinterpret_cast<UINT_PTR>(GetPropW(window, L"Corvessa.Name"));
  wchar_t name[256] = {};
  return atom && GlobalGetAtomNameW(static_cast<ATOM>(atom), name, 256) ? win32::ShownUtf8(name)
                                                                        : "";
}

HWND FindControl(HWND form, const std::string& name) {
  Search search{name};
  EnumChildWindows(form, IsSearched, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

HWND FindForm(DWORD thread, const std::string& name) {
  Search search{name};
  EnumThreadWindows(thread, IsSearchedForm, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

}  // namespace corvessa::testing
