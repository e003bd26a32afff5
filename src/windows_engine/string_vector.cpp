#include "windows_engine/string_vector.h"

#include <limits>

#include "base/error.h"
#include "windows/com/bstr.h"

namespace corvessa::windows {

HRESULT StringVector::Add(BSTR text) noexcept {
  return Bordered<IEngineStringVector>([&] { items_.push_back(com::TextOf(text)); });
}

HRESULT StringVector::Size(LONG* size) noexcept {
  if (!size) return E_POINTER;
  *size = static_cast<LONG>(items_.size());
  return S_OK;
}

HRESULT StringVector::Item(SHORT index, BSTR* text) noexcept {
  if (!text) return E_POINTER;
  *text = nullptr;
  return Bordered<IEngineStringVector>([&] {
    const auto at = static_cast<std::size_t>(index);
    if (index < 0 || at >= items_.size()) Raise(kInvalidArgument);
    *text = com::Bstr(items_[at]).Release();
  });
}

std::vector<std::string> ItemsOf(IEngineStringVector* vector) {
  if (!vector) Raise(kObjectNotSet);
  LONG size = 0;
  com::Check(vector->Size(&size), vector, __uuidof(IEngineStringVector));
  if (size > std::numeric_limits<SHORT>::max()) Raise(kOverflow);
  std::vector<std::string> items;
  for (LONG i = 0; i < size; ++i) {
    com::Bstr text;
    com::Check(vector->Item(static_cast<SHORT>(i), text.Receive()), vector,
               __uuidof(IEngineStringVector));
    items.push_back(text.Text());
  }
  return items;
}

bool Provide(IEngineStringVector** vector) {
  if (!vector) return false;
  if (!*vector)
    com::CreateObject<StringVector>(__uuidof(IEngineStringVector),
                                    reinterpret_cast<void**>(vector));
  return *vector != nullptr;
}

void AddItems(IEngineStringVector& vector, const std::vector<std::string>& items) {
  for (const auto& item : items) {
    com::Check(vector.Add(com::Bstr(item).Get()), &vector, __uuidof(IEngineStringVector));
  }
}

}  // namespace corvessa::windows
