#pragma once

#include <string>
#include <vector>
#include <wrl/client.h>

#include "idl/engine.h"
#include "support/temp_folder.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows_engine/engine_setup.h"

namespace corvessa::windows {

inline constexpr int kKeysOfEach = 3;

inline std::string Address(char owner, int number) {
  return owner + std::to_string(number) + "@example.org";
}

/// Where a test leaves the public key of an address for the programs that change the rings.
inline std::filesystem::path KeyFile(const std::string& address) {
  return DataFolder() / (address + ".asc");
}

/// The key upkeep of the registered component.
class Upkeep {
 public:
  Upkeep() : keys_(com::CreateByProgId<INimbraKeyUpkeep>(L"NimbraEncryptionEngine.Engine")) {}

  LONG Import(const std::string& key) {
    LONG status = 99;
    SAFEARRAY* const bytes = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(key.size()));
    key.copy(static_cast<char*>(bytes->pvData), key.size());
    Microsoft::WRL::ComPtr<IEngineStringVector> imported;
    com::Check(keys_->ImportKeys(bytes, nullptr, imported.GetAddressOf(), &status));
    SafeArrayDestroy(bytes);
    return status;
  }
  LONG Remove(const std::string& address) {
    LONG status = 99;
    com::Check(keys_->RemoveKeys(com::Bstr(address).Get(), &status));
    return status;
  }
  bool Has(const std::string& address) {
    LONG status = 99;
    com::Bstr armoured;
    com::Check(keys_->ExportPublicKeys(com::Bstr(address).Get(), armoured.Receive(), &status));
    return status == 0;
  }

  /// Takes each key of the owner out of the rings and puts it in again, in turn; all are there
  /// after an even number of changes. The first failure as text, or empty.
  std::string Change(char owner, int changes) {
    std::vector<std::string> keys;
    for (int i = 0; i < kKeysOfEach; ++i) {
      keys.push_back(testing::ContentOf(KeyFile(Address(owner, i))));
    }
    for (int i = 0; i < changes; ++i) {
      const int number = (i / 2) % kKeysOfEach;
      const std::string address = Address(owner, number);
      const bool adds = i % 2 == 1;
      const LONG status = adds ? Import(keys[static_cast<std::size_t>(number)]) : Remove(address);
      if (status != 0) return address + ": " + std::to_string(status);
      if (Has(address) != adds) return address + " was changed by another";
    }
    return {};
  }

 private:
  Microsoft::WRL::ComPtr<INimbraKeyUpkeep> keys_;
};

}  // namespace corvessa::windows
