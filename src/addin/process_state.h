#pragma once

namespace corvessa {

/// Puts the whole process back to its initial state: settings, accounts (passphrases wiped), engine
/// wrapper, sessions, captions, forms. Nothing is shown or traced. Ends the disconnect path; the
/// test fixture uses the same.
void ResetProcessState() noexcept;

}  // namespace corvessa
