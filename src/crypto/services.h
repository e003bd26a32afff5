#pragma once

#include <memory>

namespace corvessa {

class CryptoOperations;

/// The one engine wrapper; null before it is first needed and after close-down.
extern std::shared_ptr<CryptoOperations> g_oCrypto;

/// A new engine wrapper in place of any there was, configured from the brand's values. When that
/// fails, g_oCrypto stays as it was and the error goes to the caller.
std::shared_ptr<CryptoOperations> CreateCrypto();

/// The engine wrapper, created and configured from the brand's values when there is none; then the
/// housekeeping runs, too. Whoever needs it comes here, so that an add-in that started disabled and
/// was enabled later, or whose start failed, never sends in clear because something was missing.
/// Raises kObjectNotSet after close-down, else throws what CreateCrypto throws.
std::shared_ptr<CryptoOperations> Crypto();

/// Loads the housekeeping timer's form, which starts its timer; does nothing when it is loaded.
void StartHousekeeping();

/// Stops and unloads the housekeeping timer; does nothing when it was never loaded.
void StopHousekeeping();

/// What each operation that used a passphrase ends with: forgets all passphrases when the user
/// chose "After each use".
void ForgetAfterUse();

}  // namespace corvessa
