#pragma once

#include <memory>

namespace corvessa {

class CryptoOperations;
class frmTimer;

/// The one engine wrapper; null before it is first needed and after close-down.
extern std::shared_ptr<CryptoOperations> g_oCrypto;

/// A new engine wrapper in place of any there was, configured from the brand's values. When that
/// fails, g_oCrypto stays as it was and the error goes to the caller.
std::shared_ptr<CryptoOperations> CreateCrypto();

/// The engine wrapper, created and configured from the brand's values when there is none. Whoever
/// needs it comes here, so that an add-in that started disabled and was enabled later never sends
/// in clear because something was missing. Throws what CreateCrypto throws.
std::shared_ptr<CryptoOperations> Crypto();

/// The housekeeping timer's form, loaded (which starts its timer) when it is not.
std::shared_ptr<frmTimer> Housekeeping();

/// Stops and unloads the housekeeping timer; does nothing when it was never loaded.
void StopHousekeeping();

/// What each operation that used a passphrase ends with: forgets all passphrases when the user
/// chose "After each use".
void ForgetAfterUse();

}  // namespace corvessa
