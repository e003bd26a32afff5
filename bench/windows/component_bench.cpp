#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iostream>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "idl/engine.h"
#include "support/temp_folder.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows/engine/registered_engine.h"

// What a call of 2 KB costs through COM and the worker, beside the same call of the engine itself;
// and how long the first decryption takes after the DLL was loaded.

namespace {

using namespace corvessa;
using com::Bstr;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 40;
constexpr int kCallsOfARound = 10;

double Milliseconds(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// The fastest rounds are those that nothing else on the machine has disturbed.
double LowerQuartile(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 4];
}

void Require(long status) {
  if (status != 0) throw std::runtime_error("status " + std::to_string(status));
}

struct Component {
  Component()
      : engine(com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine")) {}

  void Unlock() const {
    LONG status = 99;
    com::Check(engine->AuthenticateAccount(Bstr("alice@example.org").Get(), Bstr("secret").Get(),
                                           &status));
    Require(status);
  }
  std::string Decrypt(const std::string& armoured) const {
    Bstr plain;
    Require(Decrypt(armoured, plain));
    return plain.Text();
  }
  void TryToDecrypt(const std::string& armoured) const {
    Bstr plain;
    if (Decrypt(armoured, plain) == 0) throw std::runtime_error("a key is unlocked already");
  }

  Microsoft::WRL::ComPtr<INimbraEncryptionEngine> engine;

 private:
  long Decrypt(const std::string& armoured, Bstr& plain) const {
    LONG status = 99;
    com::Check(engine->DecryptTextEx(Bstr(armoured).Get(), nullptr, plain.Receive(), &status));
    return status;
  }
};

void MeasureCalls(engine::OpenPgpEngine& direct, const std::string& armoured) {
  const Component component;
  component.Unlock();
  std::vector<double> directly;
  std::vector<double> through_com;
  std::string plain;
  for (int round = 0; round < kRounds; ++round) {
    directly.push_back(Milliseconds([&] {
      for (int i = 0; i < kCallsOfARound; ++i)
        Require(direct.DecryptTextEx(armoured, nullptr, plain));
    }));
    through_com.push_back(Milliseconds([&] {
      for (int i = 0; i < kCallsOfARound; ++i) plain = component.Decrypt(armoured);
    }));
  }
  const double direct_call = LowerQuartile(directly) / kCallsOfARound;
  const double com_call = LowerQuartile(through_com) / kCallsOfARound;
  std::cout << "decrypt 2 KB: direct " << direct_call << " ms, through COM " << com_call
            << " ms, ratio " << com_call / direct_call << "\n";
}

/// As the add-in does it with the first mail: it tries what is unlocked, which tells the engine
/// what key to unlock, asks for the passphrase, and decrypts.
void MeasureStart(const std::string& armoured) {
  enum Step { kLoad, kTry, kUnlock, kDecrypt, kSteps };
  std::vector<double> starts;
  std::vector<double> steps[kSteps];
  for (int i = 0; i < 15; ++i) {
    CoFreeUnusedLibrariesEx(0, 0);
    if (GetModuleHandleW(L"corvessa_engine.dll")) std::cout << "the DLL is still loaded\n";
    std::optional<Component> component;
    double of[kSteps];
    of[kLoad] = Milliseconds([&] { component.emplace(); });
    of[kTry] = Milliseconds([&] { component->TryToDecrypt(armoured); });
    of[kUnlock] = Milliseconds([&] { component->Unlock(); });
    of[kDecrypt] = Milliseconds([&] { component->Decrypt(armoured); });
    for (int step = 0; step < kSteps; ++step) steps[step].push_back(of[step]);
    starts.push_back(std::accumulate(of, of + kSteps, 0.0));
  }
  std::cout << "load and first decryption: " << LowerQuartile(starts) << " ms (load "
            << LowerQuartile(steps[kLoad]) << ", try " << LowerQuartile(steps[kTry])
            << ", passphrase " << LowerQuartile(steps[kUnlock]) << ", decrypt "
            << LowerQuartile(steps[kDecrypt]) << ")\n";
}

/// Of this process, the kernel's work for it included.
double ProcessorMilliseconds() {
  FILETIME made, ended, kernel, user;
  GetProcessTimes(GetCurrentProcess(), &made, &ended, &kernel, &user);
  const auto ticks = [](const FILETIME& time) {
    return static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime;
  };
  return (ticks(kernel) + ticks(user)) / 10'000;
}

void MeasureFiles(engine::OpenPgpEngine& direct, const platform::IEngineStringVector& recipients) {
  const testing::TempFolder folder;
  const std::string plain = (folder.Path() / "plain").string();
  const std::string cipher = (folder.Path() / "cipher").string();
  std::mt19937_64 random(1);
  std::vector<std::uint64_t> block((1U << 20) / sizeof(std::uint64_t));
  std::ofstream file(plain, std::ios::binary);
  for (int i = 0; i < 256; ++i) {
    std::ranges::generate(block, random);
    file.write(reinterpret_cast<const char*>(block.data()), 1 << 20);
  }
  file.close();
  const double start = ProcessorMilliseconds();
  Require(direct.EncryptFileToFile(recipients, plain, cipher));
  const double encrypted = ProcessorMilliseconds();
  Require(direct.DecryptFileEx(cipher, nullptr));
  std::cout << "256 MiB, milliseconds of the processor: encrypt " << encrypted - start
            << ", decrypt " << ProcessorMilliseconds() - encrypted << "\n";
}

}  // namespace

/// With "files", measures large files instead.
int main(int argc, char**) {
  const windows::RegisteredEngine user;
  const auto direct = windows::RegisteredEngine::OpenDirectly();
  engine::KeyInfo made;
  Require(direct->GenerateKey("", "alice@example.org", "secret", made));
  Require(direct->AuthenticateAccount("alice@example.org", "secret"));
  const auto recipients = engine::CreateStringVector();
  recipients->Add("alice@example.org");
  if (argc > 1) {
    MeasureFiles(*direct, *recipients);
    return 0;
  }
  std::string armoured;
  Require(direct->EncryptText(*recipients, std::string(2048, 'x'), armoured));
  MeasureStart(armoured);
  MeasureCalls(*direct, armoured);
}
