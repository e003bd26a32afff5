#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/rnp_handles.h"

namespace corvessa::engine {

/// By what a key of a ring is found.
struct KeyFacts {
  std::string fingerprint;             ///< of the primary key, capital hexadecimal
  std::vector<std::string> key_ids;    ///< of the primary key and its subkeys
  std::vector<std::string> addresses;  ///< as AddressOf gives them, without repetitions
  bool operator==(const KeyFacts&) const = default;
};

/// A primary key by its fingerprint; empty when it is not loaded.
Key FindKey(rnp_ffi_t ffi, const std::string& fingerprint);

/// The primary key and its subkeys.
std::vector<Key> WithSubkeys(rnp_ffi_t ffi, rnp_key_handle_t primary);

KeyFacts FactsOf(rnp_key_handle_t primary);

/// The normal address that a user ID carries, "name <address>" or the address alone; "" when it
/// carries none.
std::string AddressOf(std::string_view user_id);

/// It stands for a secret key whose numbers are kept elsewhere: in a backup or on a smartcard.
bool IsStub(rnp_key_handle_t key);

/// Leaves the public halves of what are stubs of the primary key and its subkeys.
void ForgetStubs(rnp_ffi_t ffi, const std::string& fingerprint);

/// Binary keys as they are; of armour all public and secret key blocks, one after the other.
std::string BinaryKeys(std::string_view data);

/// Loads keys, armoured or binary, passing over what the library cannot read. Returns the
/// fingerprints of the primary keys that the data held.
std::vector<std::string> LoadKeys(rnp_ffi_t ffi, std::string_view data);

/// The key in binary form.
std::string ExportPublic(rnp_key_handle_t primary);
std::string ExportSecret(rnp_key_handle_t primary);

/// The user ID carries the address and its self-signature holds.
bool CarriesAddress(rnp_key_handle_t primary, std::string_view address);

/// Valid, neither revoked nor expired.
bool IsUsable(rnp_key_handle_t key);

/// A subkey for signing has to have signed its binding itself, else anybody could bind another's.
/// The library sees to that only where the binding says that it is for signing; where it says
/// nothing, everything is allowed, even what no subkey may do.
bool MaySign(rnp_key_handle_t key);

/// The usable subkeys that may do "encrypt" or "sign", newest first, and then the primary key if it
/// may; none when the primary key is not usable.
std::vector<Key> AllUsableFor(rnp_ffi_t ffi, rnp_key_handle_t primary, const char* usage);

/// The first of these, or an empty one.
Key UsableFor(rnp_ffi_t ffi, rnp_key_handle_t primary, const char* usage);

/// Some user ID's self-signature holds.
bool HasValidUserId(rnp_key_handle_t primary);

/// The addresses of the valid user IDs, the primary one's first; without repetitions.
std::vector<std::string> ValidAddresses(rnp_key_handle_t primary);

}  // namespace corvessa::engine
