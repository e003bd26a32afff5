// What the engine costs in this process, beside the gpg program on the same keys and inputs.
//
// engine_bench texts|recipients|rings FILE…|imports|files: prints lines for bench/run, with tabs
// between the name, the milliseconds, those of the processor, the same two of gpg and the peak of
// memory in MiB (0 where nothing was measured). engine_bench keys NUMBER: writes so many public
// keys instead, for benchmarks of whole programs.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
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

struct Measured {
  double milliseconds = 0;
  double processor_milliseconds = 0;  ///< what a busy machine distorts least
  double peak_mebibytes = 0;
};

double Milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
}

/// Of this process and of those that it has waited for.
double ProcessorMilliseconds() {
  double sum = 0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage = {};
    getrusage(who, &usage);
    sum += Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
  }
  return sum;
}

Measured Average(int repeats, const Work& work) {
  const double processor = ProcessorMilliseconds();
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < repeats; ++i) work();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  return {time.count() / repeats, (ProcessorMilliseconds() - processor) / repeats, 0};
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
  auto path = (profile.folder / "big").string();
  std::ofstream stream(path, std::ios::binary);
  std::mt19937_64 random(1);
  std::vector<std::uint64_t> block((1U << 20) / sizeof(std::uint64_t));
  for (std::size_t i = 0; i < mebibytes; ++i) {
    for (auto& word : block) word = random();
    stream.write(reinterpret_cast<const char*>(block.data()), 1 << 20);
  }
  return path;
}

/// In a process of its own, so that its peak of memory is its own.
Measured InProcess(const Work& work) {
  rusage usage = {};
  auto measured = Average(1, [&] {
    const pid_t child = fork();
    if (child == 0) {
      work();
      _exit(0);
    }
    int status = 0;
    wait4(child, &status, 0, &usage);
    Require(status == 0, "a measured process");
  });
  measured.peak_mebibytes = static_cast<double>(usage.ru_maxrss) / 1024;
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

void Row(const std::string& what, const Measured& engine, const Measured& gpg) {
  std::printf("%s\t%f\t%f\t%f\t%f\t%f\n", what.c_str(), engine.milliseconds,
              engine.processor_milliseconds, gpg.milliseconds, gpg.processor_milliseconds,
              engine.peak_mebibytes);
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
  Row("256 MiB file: encrypt", encrypt, gpg_encrypt);

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
  Row("256 MiB file: decrypt in place", decrypt, gpg_decrypt);

  const auto sign = BestOf(kRuns, nothing, [&] {
    std::string path;
    RequireStatus(*alice.engine, alice.engine->SignFile(big, path), 0);
  });
  const auto gpg_sign = BestOf(kRuns, nothing, [&] {
    gpg.Make("--armor -u alice@example.org --output " + by_gpg + ".sig --detach-sign " + big);
  });
  Row("256 MiB file: sign", sign, gpg_sign);

  std::string signature;
  RequireStatus(*alice.engine, alice.engine->SignFile(big, signature), 0);
  const auto verify = BestOf(kRuns, nothing, [&] {
    Require(alice.VerifyFile(big, signature) == "1 [alice@example.org] []", "verify");
  });
  const auto gpg_verify =
      BestOf(kRuns, nothing, [&] { gpg.Make("--verify " + signature + " " + big); });
  Row("256 MiB file: verify", verify, gpg_verify);
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
      Average(kEngine,
              [&] {
                RequireStatus(engine, engine.EncryptText(To({"alice@example.org"}), text, armoured),
                              0);
              }),
      Average(kGpg, [&] { gpg.Make("--armor -r alice@example.org --encrypt", text); }));
  Row("2 KB text: decrypt",
      Average(kEngine,
              [&] { RequireStatus(engine, engine.DecryptTextEx(armoured, nullptr, plain), 0); }),
      Average(kGpg, [&] { gpg.Make("--decrypt", armoured); }));
  Row("2 KB text: clear-sign",
      Average(kEngine,
              [&] { RequireStatus(engine, engine.SignText(text, nullptr, signed_text), 0); }),
      Average(kGpg, [&] { gpg.Make("-u alice@example.org --clear-sign", text); }));
  Row("2 KB text: verify",
      Average(kEngine, [&] { Require(alice.VerifyText(signed_text).starts_with("1 "), "verify"); }),
      Average(kGpg, [&] { gpg.Make("--verify", signed_text); }));
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

/// An engine whose ring holds keys of Address(0) and so on, and gpg with the same.
struct Ring {
  explicit Ring(int count) {
    const std::string keys = ManyKeys(count);
    profile.Import(keys);
    gpg.Import(keys);
  }
  Profile profile;
  Gpg gpg;
};

/// A file for each ring, named by the number of keys in it, as in "10000-keys".
void BenchRings(int files, char** paths) {
  for (int i = 0; i < files; ++i) {
    const std::filesystem::path path = paths[i];
    const std::string keys = testing::ContentOf(path);
    Profile profile;
    profile.Import(keys);
    Gpg gpg;
    // Importing 10,000 keys takes gpg an hour, so it gets a ring that is made already.
    gpg.Write("pubring.gpg", keys);
    std::string text;
    Row("ring of " + std::to_string(std::stoi(path.filename())) + " keys: open, find one",
        Average(20,
                [&] {
                  const auto engine = profile.Reopened().engine;
                  RequireStatus(*engine, engine->QueryKeyPair(Address(567), text), 0);
                }),
        Average(3, [&] { gpg.Make("--list-keys " + Address(567)); }));
  }
}

void BenchImports() {
  for (const int count : {1000, 4000}) {
    const std::string keys = ManyKeys(count);
    Profile profile;
    Gpg gpg;
    // Most of gpg's time grows with the square of the number.
    const auto by_gpg = count == 1000 ? Average(1, [&] { gpg.Import(keys); }) : Measured();
    Row("import " + std::to_string(count) + " keys", Average(1, [&] { profile.Import(keys); }),
        by_gpg);
  }
}

void BenchRecipients() {
  Ring ring(1000);
  const std::string body(2048, 'x');
  for (const int count : {1, 10, 100}) {
    To recipients;
    std::string options = "--armor";
    for (int i = 0; i < count; ++i) {
      recipients.items.push_back(Address(i));
      options += " -r " + Address(i);
    }
    std::string armoured;
    const auto encrypt = [&](platform::IEngine& engine) {
      RequireStatus(engine, engine.EncryptText(recipients, body, armoured), 0);
    };
    const auto gpg = Average(3, [&] { ring.gpg.Make(options + " --encrypt", body); });
    const std::string name = "2 KB text to " + std::to_string(count) + ": ";
    Row(name + "first time", Average(5, [&] { encrypt(*ring.profile.Reopened().engine); }), gpg);
    Row(name + "keys loaded", Average(20, [&] { encrypt(*ring.profile.engine); }), gpg);
  }
}

void BenchOwnKey(void (*bench)(Profile& alice, Gpg& gpg)) {
  Profile alice;
  Gpg gpg;
  alice.Generate("alice@example.org");
  gpg.Import(alice.SecretKeys("alice@example.org"));
  bench(alice, gpg);
}

bool Bench(const std::string& what, int count, char** arguments) {
  if (what == "texts") {
    BenchOwnKey(BenchTexts);
  } else if (what == "files") {
    BenchOwnKey(BenchFiles);
  } else if (what == "recipients") {
    BenchRecipients();
  } else if (what == "rings") {
    BenchRings(count, arguments);
  } else if (what == "imports") {
    BenchImports();
  } else {
    return false;
  }
  return true;
}

}  // namespace
}  // namespace corvessa::engine

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "keys" && argc == 3) {
    std::cout << corvessa::engine::ManyKeys(std::atoi(argv[2]));
  } else if (!corvessa::engine::Bench(what, argc - 2, argv + 2)) {
    std::cerr << "engine_bench texts|recipients|rings FILE…|imports|files|keys NUMBER\n";
    return 2;
  }
  return 0;
}
