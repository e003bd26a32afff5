#pragma once

#include <filesystem>
#include <string>

#include "desk/mail/mail.h"

namespace corvessa::desk::mail {

/// A mail in the form that peer.py prints, so that both readings can be compared whole.
std::string Described(const Mail& mail);

/// What peer.py prints for these arguments; a failing peer fails the test.
std::string Peer(const std::string& command, const std::filesystem::path& path);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace corvessa::desk::mail
