// What the engine costs, as ratios to the gpg program on the same keys and inputs in one run.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "engine/key_facts.h"
#include "engine/profile.h"
#include "support/gpg.h"

namespace corvessa::engine {
namespace {

using testing::Gpg;
using Work = std::function<void()>;

double Milliseconds(int repeats, const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < repeats; ++i) work();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  return time.count() / repeats;
}

double Milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
}

void Require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "failed: %s\n", what.c_str());
  std::exit(1);
}

void RequireStatus(platform::IEngine& engine, int status, int wanted) {
  Require(status == wanted, engine.GetEngineLastError());
}

/// A million bytes at a time, so that the parent of the measured processes stays small.
std::string WriteRandomFile(const Profile& profile, std::size_t mebibytes) {
  const auto path = (profile.folder / "big").string();
  std::ofstream stream(path, std::ios::binary);
  std::mt19937_64 random(1);
  std::vector<std::uint64_t> block((1U << 20) / sizeof(std::uint64_t));
  for (std::size_t i = 0; i < mebibytes; ++i) {
    for (auto& word : block) word = random();
    stream.write(reinterpret_cast<const char*>(block.data()), 1 << 20);
  }
  return path;
}

struct Measured {
  double milliseconds = 0;
  double processor_milliseconds = 0;  ///< what a busy machine distorts least
  double peak_mebibytes = 0;
};

/// In a process of its own, so that its peak of memory is its own.
Measured InProcess(const Work& work) {
  Measured measured;
  measured.milliseconds = Milliseconds(1, [&] {
    const pid_t child = fork();
    if (child == 0) {
      work();
      _exit(0);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    Require(status == 0, "a measured process");
    measured.processor_milliseconds = Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
    measured.peak_mebibytes = static_cast<double>(usage.ru_maxrss) / 1024;
  });
  return measured;
}

/// The best of a few runs: other programs only ever add to the time.
Measured BestOf(int runs, const Work& prepare, const Work& work) {
  Measured best{1e12, 1e12, 0};
  for (int i = 0; i < runs; ++i) {
    prepare();
    const auto measured = InProcess(work);
    best.milliseconds = std::min(best.milliseconds, measured.milliseconds);
    best.processor_milliseconds =
        std::min(best.processor_milliseconds, measured.processor_milliseconds);
    best.peak_mebibytes = std::max(best.peak_mebibytes, measured.peak_mebibytes);
  }
  return best;
}

void Row(const char* what, double engine, double gpg) {
  std::printf("%-34s %10.2f ms %10.1f ms   gpg/engine %6.2f   engine/gpg %6.3f\n", what, engine,
              gpg, gpg / engine, engine / gpg);
}

void FileRow(const char* what, const Measured& engine, const Measured& gpg) {
  Row(what, engine.milliseconds, gpg.milliseconds);
  Row("  processor time", engine.processor_milliseconds, gpg.processor_milliseconds);
  std::printf("%-34s %10.1f MiB of memory at most\n", "", engine.peak_mebibytes);
  std::fflush(stdout);
}

void BenchFiles(Profile& alice, Gpg& gpg) {
  const auto big = WriteRandomFile(alice, 256);
  const auto encrypted = (alice.folder / "big.pgp").string();
  const auto by_gpg = (alice.folder / "big.gpg").string();
  const auto work_copy = (alice.folder / "copy").string();
  const auto login = [&] {
    RequireStatus(*alice.engine, alice.engine->AuthenticateAccount("alice@example.org", "secret"),
                  0);
  };
  const auto nothing = [] {};
  constexpr int kRuns = 3;

  const auto encrypt = BestOf(kRuns, nothing, [&] {
    RequireStatus(*alice.engine,
                  alice.engine->EncryptFileToFile(To({"alice@example.org"}), big, encrypted), 0);
  });
  const auto gpg_encrypt = BestOf(kRuns, nothing, [&] {
    gpg.Make("-z 0 --cipher-algo AES256 -r alice@example.org --output " + by_gpg + " --encrypt " +
             big);
  });
  FileRow("256 MiB file: encrypt", encrypt, gpg_encrypt);

  login();
  const auto copy = [&] {
    std::filesystem::copy_file(encrypted, work_copy,
                               std::filesystem::copy_options::overwrite_existing);
  };
  const auto decrypt = BestOf(kRuns, copy, [&] {
    RequireStatus(*alice.engine, alice.engine->DecryptFileEx(work_copy, nullptr), 0);
  });
  const auto gpg_decrypt = BestOf(
      kRuns, nothing, [&] { gpg.Make("--output " + work_copy + " --decrypt " + encrypted); });
  FileRow("256 MiB file: decrypt in place", decrypt, gpg_decrypt);

  const auto sign = BestOf(kRuns, nothing, [&] {
    std::string path;
    RequireStatus(*alice.engine, alice.engine->SignFile(big, path), 0);
  });
  const auto gpg_sign = BestOf(kRuns, nothing, [&] {
    gpg.Make("--armor -u alice@example.org --output " + by_gpg + ".sig --detach-sign " + big);
  });
  FileRow("256 MiB file: sign", sign, gpg_sign);

  std::string signature;
  RequireStatus(*alice.engine, alice.engine->SignFile(big, signature), 0);
  const auto verify = BestOf(kRuns, nothing, [&] {
    Require(alice.VerifyFile(big, signature) == "1 [alice@example.org] []", "verify");
  });
  const auto gpg_verify =
      BestOf(kRuns, nothing, [&] { gpg.Make("--verify " + signature + " " + big); });
  FileRow("256 MiB file: verify", verify, gpg_verify);
}

void BenchTexts(Profile& alice, Gpg& gpg) {
  constexpr int kEngine = 200;
  constexpr int kGpg = 10;
  const std::string text(2048, 'x');
  std::string armoured;
  std::string signed_text;
  std::string plain;
  auto& engine = *alice.engine;
  RequireStatus(engine, engine.AuthenticateAccount("alice@example.org", "secret"), 0);
  Row("2 KB text: encrypt",
      Milliseconds(kEngine,
                   [&] {
                     RequireStatus(
                         engine, engine.EncryptText(To({"alice@example.org"}), text, armoured), 0);
                   }),
      Milliseconds(kGpg, [&] { gpg.Make("--armor -r alice@example.org --encrypt", text); }));
  Row("2 KB text: decrypt",
      Milliseconds(
          kEngine,
          [&] { RequireStatus(engine, engine.DecryptTextEx(armoured, nullptr, plain), 0); }),
      Milliseconds(kGpg, [&] { gpg.Make("--decrypt", armoured); }));
  Row("2 KB text: clear-sign",
      Milliseconds(kEngine,
                   [&] { RequireStatus(engine, engine.SignText(text, nullptr, signed_text), 0); }),
      Milliseconds(kGpg, [&] { gpg.Make("-u alice@example.org --clear-sign", text); }));
  Row("2 KB text: verify",
      Milliseconds(kEngine,
                   [&] { Require(alice.VerifyText(signed_text).starts_with("1 "), "verify"); }),
      Milliseconds(kGpg, [&] { gpg.Make("--verify", signed_text); }));
}

std::string Address(int i) {
  return "user" + std::to_string(i) + "@example.org";
}

/// Public keys as the engine makes them, without the passphrase work.
std::string ManyKeys(int count) {
  const Ffi ffi = MakeFfi();
  std::string keys;
  for (int i = 0; i < count; ++i) {
    rnp_key_handle_t key = nullptr;
    Check(rnp_generate_key_25519(ffi.get(), Address(i).c_str(), nullptr, &key));
    keys += ExportPublic(key);
    rnp_key_handle_destroy(key);
  }
  return keys;
}

void BenchManyKeys(Gpg& gpg) {
  Profile profile;
  const std::string keys = ManyKeys(1000);
  profile.Import(keys);
  std::string text;
  const double open = Milliseconds(20, [&] {
    const auto engine = profile.Reopened();
    RequireStatus(*engine, engine->QueryKeyPair(Address(567), text), 0);
  });
  gpg.Import(keys);
  const double gpg_open = Milliseconds(5, [&] { gpg.Run("--list-keys " + Address(567)); });
  Row("ring of 1,000 keys: open, find one", open, gpg_open);

  To recipients;
  std::string options = "--armor";
  for (int i = 0; i < 100; ++i) {
    recipients.items.push_back(Address(i));
    options += " -r " + Address(i);
  }
  const std::string body(2048, 'x');
  std::string armoured;
  const double first = Milliseconds(3, [&] {
    const auto engine = profile.Reopened();
    RequireStatus(*engine, engine->EncryptText(recipients, body, armoured), 0);
  });
  const double again = Milliseconds(20, [&] {
    RequireStatus(*profile.engine, profile.engine->EncryptText(recipients, body, armoured), 0);
  });
  const double gpg_time = Milliseconds(3, [&] { gpg.Make(options + " --encrypt", body); });
  Row("100 recipients: first time", first, gpg_time);
  Row("100 recipients: keys loaded", again, gpg_time);
}

void BenchAll() {
  Profile alice;
  Gpg gpg;
  alice.Generate("alice@example.org");
  gpg.Import(alice.SecretKeys("alice@example.org"));
  std::printf("%-34s %13s %13s\n", "", "engine", "gpg");
  BenchFiles(alice, gpg);
  BenchTexts(alice, gpg);
  BenchManyKeys(gpg);
}

}  // namespace
}  // namespace corvessa::engine

int main() {
  corvessa::engine::BenchAll();
}
