// Stands in for the fuzzer where there is none: feeds a fuzz target every file of its seed corpus,
// and then, for each, a fixed number of changed copies. The same ones in every run, so that what
// fails once fails again; what a real fuzzer finds is added to the corpus.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kChangedCopies = 100;

Bytes ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t Below(std::mt19937& random, std::size_t bound) {
  return bound == 0 ? 0 : random() % bound;
}

/// One to four changes: a byte flipped, a stretch left out, one doubled, the end cut off.
Bytes Changed(Bytes bytes, std::mt19937& random) {
  for (auto changes = 1 + Below(random, 4); changes > 0 && !bytes.empty(); --changes) {
    const auto at = static_cast<std::ptrdiff_t>(Below(random, bytes.size()));
    const auto length = static_cast<std::ptrdiff_t>(
        Below(random, std::min<std::size_t>(bytes.size() - static_cast<std::size_t>(at), 64)));
    const Bytes stretch(bytes.begin() + at, bytes.begin() + at + length);
    switch (Below(random, 4)) {
      case 0:
        bytes[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(1U << Below(random, 8));
        break;
      case 1:
        bytes.erase(bytes.begin() + at, bytes.begin() + at + length);
        break;
      case 2:
        bytes.insert(bytes.begin() + at, stretch.begin(), stretch.end());
        break;
      default:
        bytes.resize(static_cast<std::size_t>(at));
    }
  }
  return bytes;
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (argument_count != 2) return 2;
  std::vector<std::filesystem::path> seeds;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    seeds.push_back(entry.path());
  }
  std::sort(seeds.begin(), seeds.end());
  for (const auto& path : seeds) {
    const Bytes seed = ContentOf(path);
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(seed.data(), seed.size());
    std::mt19937 random(static_cast<std::uint32_t>(seed.size()));
    for (int copy = 0; copy < kChangedCopies; ++copy) {
      const Bytes changed = Changed(seed, random);
      LLVMFuzzerTestOneInput(changed.data(), changed.size());
    }
  }
  return seeds.empty() ? 1 : 0;
}
