#pragma once

#include <memory>

namespace corvessa {

class CryptoOperations;

/// The one engine wrapper; null before it is first needed and after close-down.
extern std::shared_ptr<CryptoOperations> g_oCrypto;

/// Creates and configures a new engine wrapper from the brand's values and makes it g_oCrypto. On
/// failure g_oCrypto stays as it was and the error goes to the caller.
std::shared_ptr<CryptoOperations> CreateCrypto();

/// The only way to get the engine wrapper. Creates it, and starts the housekeeping, on demand, so
/// that an add-in enabled after start-up never sends in clear for lack of one. Raises kObjectNotSet
/// after close-down, otherwise throws what CreateCrypto throws.
std::shared_ptr<CryptoOperations> Crypto();

/// Loads the housekeeping timer's form, which starts its timer; does nothing when it is loaded.
void StartHousekeeping();

/// Stops and unloads the housekeeping timer; does nothing when it was never loaded.
void StopHousekeeping();

/// Forgets all passphrases if the user chose "After each use". Every operation that used one ends
/// with it.
void ForgetAfterUse();

}  // namespace corvessa
