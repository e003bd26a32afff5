#include "windows/outlook/counted_engine.h"

#include "idl/engine.h"
#include "windows/com/errors.h"
#include "windows/com/single_interface.h"
#include "windows/outlook/served_object.h"
#include "windows_engine/reserved_places.h"

namespace corvessa::testing {
namespace {

using Microsoft::WRL::ComPtr;

// NOLINTBEGIN(cppcoreguidelines-macro-usage): only the preprocessor makes names.
#define CORVESSA_COUNTED_OF(object, operation, parameters, arguments) \
  HRESULT STDMETHODCALLTYPE operation parameters noexcept override {  \
    const HRESULT planned = TheLedger().Note("Engine." #operation);   \
    return FAILED(planned) ? planned : object->operation arguments;   \
  }
#define CORVESSA_COUNTED(operation, parameters, arguments) \
  CORVESSA_COUNTED_OF(engine_, operation, parameters, arguments)
// NOLINTEND(cppcoreguidelines-macro-usage)

class Counted final
    : public com::Object<Counted, windows::ReservedPlaces, com::Dual<INimbraMailReading>> {
 public:
  static constexpr auto kProgId = L"NimbraEncryptionEngine.Engine";
  using Vector = IEngineStringVector;

  explicit Counted(ComPtr<INimbraEncryptionEngine> engine) : engine_(std::move(engine)) {
    com::Check(engine_.As(&reading_));
  }

  CORVESSA_COUNTED(SetOption, (BSTR name, BSTR value), (name, value))
  CORVESSA_COUNTED(InitEngine, (LONG * status), (status))
  CORVESSA_COUNTED(QueryKeyPair, (BSTR who, BSTR* text, LONG* status), (who, text, status))
  CORVESSA_COUNTED(AuthenticateAccount, (BSTR who, BSTR words, LONG* status), (who, words, status))
  CORVESSA_COUNTED(SignFile, (BSTR path, BSTR* made, LONG* status), (path, made, status))
  CORVESSA_COUNTED(SignText, (BSTR text, IDispatch* account, BSTR* made, LONG* status),
                   (text, account, made, status))
  CORVESSA_COUNTED(EncryptText, (Vector * whom, BSTR text, BSTR* made, LONG* status),
                   (whom, text, made, status))
  CORVESSA_COUNTED(DecryptFileEx, (BSTR path, IDispatch* account, LONG* status),
                   (path, account, status))
  CORVESSA_COUNTED(DecryptTextEx, (BSTR text, IDispatch* account, BSTR* plain, LONG* status),
                   (text, account, plain, status))
  CORVESSA_COUNTED(VerifyText,
                   (BSTR text, Vector** known, Vector** unknown, BSTR* content, LONG* status),
                   (text, known, unknown, content, status))
  CORVESSA_COUNTED(VerifyFile,
                   (BSTR path, BSTR signature, Vector** known, Vector** unknown, LONG* status),
                   (path, signature, known, unknown, status))
  CORVESSA_COUNTED(GetEngineLastError, (BSTR * text), (text))
  CORVESSA_COUNTED(EncryptFileToFile, (Vector * whom, BSTR path, BSTR* made, LONG* status),
                   (whom, path, made, status))
  CORVESSA_COUNTED(SetAnonymousMode, (VARIANT_BOOL anonymous), (anonymous))
  CORVESSA_COUNTED(GetAddressADKs, (BSTR who, Vector** found, LONG* status), (who, found, status))
  CORVESSA_COUNTED(GetRecipientADKs, (BSTR who, Vector** found, LONG* status), (who, found, status))
  CORVESSA_COUNTED_OF(reading_, SetDeclaredCharset, (BSTR charset), (charset))
  CORVESSA_COUNTED_OF(reading_, SetMessagePassphrase, (BSTR passphrase), (passphrase))
  CORVESSA_COUNTED_OF(reading_, OpenSignedText, (BSTR text, BSTR* opened, LONG* status),
                      (text, opened, status))
  CORVESSA_COUNTED_OF(reading_, GetTrouble, (BSTR * reason, Vector** key_ids, BSTR* address),
                      (reason, key_ids, address))
  CORVESSA_COUNTED_OF(reading_, DecryptSignedFile,
                      (BSTR path, IDispatch* account, VARIANT_BOOL* is_signed, LONG* status),
                      (path, account, is_signed, status))

 private:
  ComPtr<INimbraEncryptionEngine> engine_;
  ComPtr<INimbraMailReading> reading_;
};

/// In front of the class's own factory.
class Factory final : public com::SingleInterface<Factory, IClassFactory> {
 public:
  explicit Factory(ComPtr<IClassFactory> real) : real_(std::move(real)) {}

  static bool Answers(const IID& iid) { return iid == IID_IClassFactory; }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, const IID& iid,
                                           void** object) noexcept override {
    const HRESULT planned = TheLedger().Note("Engine.CoCreateInstance");
    if (FAILED(planned)) return planned;
    if (iid != __uuidof(INimbraEncryptionEngine)) return real_->CreateInstance(outer, iid, object);
    return com::Bordered(IID_NULL, L"", [&] {
      ComPtr<INimbraEncryptionEngine> engine;
      com::Check(real_->CreateInstance(outer, IID_PPV_ARGS(&engine)));
      com::Check(com::CreateObject<Counted>(iid, object, std::move(engine)));
    });
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

 private:
  ComPtr<IClassFactory> real_;
};

}  // namespace

CountedEngine::CountedEngine() {
  for (const wchar_t* name : {Counted::kProgId, L"NimbraEncryptionEngine.StringVector"}) {
    CLSID clsid;
    ComPtr<IClassFactory> real;
    ComPtr<IUnknown> counted;
    com::Check(CLSIDFromProgID(name, &clsid));
    com::Check(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&real)));
    *counted.GetAddressOf() = new Factory(std::move(real));
    com::Check(CoRegisterClassObject(clsid, counted.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                     &cookies_.emplace_back()));
  }
}

CountedEngine::~CountedEngine() {
  for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
}

}  // namespace corvessa::testing
