#include "windows/engine/com_string_vector.h"

#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"

namespace corvessa::windows {
namespace {

void CheckCall(HRESULT result, ::IEngineStringVector* vector) {
  com::Check(result, vector, __uuidof(::IEngineStringVector));
}

void Copy(const platform::IEngineStringVector& from, platform::IEngineStringVector& to) {
  for (std::int32_t i = 0; i < from.Size(); ++i) to.Add(from.Item(static_cast<std::int16_t>(i)));
}

}  // namespace

ComStringVector::ComStringVector()
    : vector_(com::CreateByProgId<::IEngineStringVector>(L"NimbraEncryptionEngine.StringVector")) {}

void ComStringVector::Add(std::string_view text) {
  CheckCall(vector_->Add(com::Bstr(text).Get()), vector_.Get());
}

std::int32_t ComStringVector::Size() const {
  LONG size = 0;
  CheckCall(vector_->Size(&size), vector_.Get());
  return size;
}

std::string ComStringVector::Item(std::int16_t index) const {
  com::Bstr text;
  CheckCall(vector_->Item(index, text.Receive()), vector_.Get());
  return text.Text();
}

ComStringVector ComVectorOf(const platform::IEngineStringVector& vector) {
  if (const auto* const own = dynamic_cast<const ComStringVector*>(&vector)) return *own;
  ComStringVector copy;
  Copy(vector, copy);
  return copy;
}

FilledVector::FilledVector(platform::IEngineStringVector& target) : target_(target) {
  const auto* const own = dynamic_cast<const ComStringVector*>(&target);
  vector_ = own ? own->Get() : ComStringVector().Get();
}

void FilledVector::Finish() {
  const auto* const own = dynamic_cast<const ComStringVector*>(&target_);
  if (own && own->Get() == vector_.Get()) return;
  if (vector_) Copy(ComStringVector(vector_), target_);
}

}  // namespace corvessa::windows
