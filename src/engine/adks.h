#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace corvessa::engine {

/// The additional decryption addresses that a file gives for an address (its own lines and those of
/// its domain) or for a domain, without repetitions, in file order. None when there is no file.
///
/// A line is "address or domain: address, address…"; empty lines and those starting with # count as
/// nothing. EngineFailure (-9) for any other line: an address left out would go unnoticed.
std::vector<std::string> FindAdks(const std::filesystem::path& file, std::string_view who);

}  // namespace corvessa::engine
