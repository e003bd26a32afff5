#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "idl/engine.h"
#include "windows/com/object.h"

namespace corvessa::windows {

/// The list of texts that callers make to hand recipients in and to get signers out.
class StringVector final : public com::Object<StringVector, com::Dual<IEngineStringVector>> {
 public:
  static constexpr auto kProgId = L"NimbraEncryptionEngine.StringVector";

  HRESULT STDMETHODCALLTYPE Add(BSTR text) noexcept override;
  HRESULT STDMETHODCALLTYPE Reserved1() noexcept override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Size(LONG* size) noexcept override;
  HRESULT STDMETHODCALLTYPE Item(SHORT index, BSTR* text) noexcept override;

 private:
  std::vector<std::string> items_;
};

/// The items of a caller's vector. Throws Error when there is none, when it fails, or when it holds
/// more than an index can count.
std::vector<std::string> ItemsOf(IEngineStringVector* vector);

/// Makes an empty vector if the caller brings none. False: there is no place for it.
bool Provide(IEngineStringVector** vector);
void AddItems(IEngineStringVector& vector, const std::vector<std::string>& items);

}  // namespace corvessa::windows
