// Loading and saving the accounts over the registry file, and a trace call with the switch off. The
// complexity lines show that a thousand accounts cost a thousand times one.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <memory>
#include <string>

#include "accounts/nimbra_account.h"
#include "accounts/registry_handlers.h"
#include "base/debug_info.h"
#include "desk/outlook/outlook_model.h"
#include "desk/profile/profile.h"
#include "platform/host.h"
#include "settings/settings.h"
#include "support/scripted_engine.h"
#include "support/scripted_ui.h"
#include "support/temp_folder.h"

namespace corvessa {
namespace {

class BenchHost {
 public:
  BenchHost() {
    platform::InstallHost({outlook_.Cdo(), profile_.Clipboard(), profile_.Clock(), engine_,
                           profile_.Files(), profile_.Inet(), profile_.Pictures(),
                           outlook_.Redemption(), profile_.Registry(), profile_.Shell(), ui_,
                           profile_.Product()});
  }
  ~BenchHost() { platform::RemoveHost(); }
  BenchHost(const BenchHost&) = delete;
  BenchHost& operator=(const BenchHost&) = delete;

 private:
  testing::TempFolder folder_;
  desk::Profile profile_{folder_ / "profile"};
  desk::OutlookModel outlook_;
  testing::ScriptedEngineFactory engine_;
  testing::ScriptedUi ui_;
};

void FillAccounts(std::int64_t count) {
  g_colAccounts.clear();
  for (std::int64_t i = 0; i < count; ++i) {
    auto account = std::make_shared<NimbraAccount>();
    account->m_sAlias = "user" + std::to_string(i) + "@example.org";
    g_colAccounts.push_back(std::move(account));
  }
}

void SaveAccounts(benchmark::State& state) {
  const BenchHost host;
  FillAccounts(state.range(0));
  for (auto _ : state) {
    if (RegistryHandlers::WriteUserAccountInfo() != 0) state.SkipWithError("not written");
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(SaveAccounts)->Arg(1000)->Arg(2000)->Arg(4000)->Arg(8000)->Complexity(benchmark::oN);

void LoadAccounts(benchmark::State& state) {
  const BenchHost host;
  FillAccounts(state.range(0));
  RegistryHandlers::WriteUserAccountInfo();
  for (auto _ : state) {
    RegistryHandlers::ReadUserAccountInfo();
    if (g_colAccounts.size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("not all were read");
    }
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(LoadAccounts)->Arg(1000)->Arg(2000)->Arg(4000)->Arg(8000)->Complexity(benchmark::oN);

/// From the text of the file, as at the start of a program.
void OpenRegistryFile(benchmark::State& state) {
  const testing::TempFolder folder;
  const auto path = folder / "registry.reg";
  {
    desk::RegistryFile registry(path);
    platform::RegistryKeyPtr open_meanwhile;
    registry.CurrentUser().Open("", open_meanwhile);
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      platform::RegistryKeyPtr key;
      registry.CurrentUser().Create("Accounts\\user" + std::to_string(i) + "@example.org", key);
      key->WriteNumber("Sign", 0);
    }
  }
  for (auto _ : state) {
    const desk::RegistryFile registry(path);
    benchmark::DoNotOptimize(&registry);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(OpenRegistryFile)->Arg(1000)->Arg(2000)->Arg(4000)->Arg(8000)->Complexity(benchmark::oN);

void TraceWithTheSwitchOff(benchmark::State& state) {
  g_bLogDebuggingInfo = false;
  for (auto _ : state) {
    Debug_Info::TraceLog("a line that nobody asked for");
    benchmark::ClobberMemory();
  }
}
BENCHMARK(TraceWithTheSwitchOff);

}  // namespace
}  // namespace corvessa

BENCHMARK_MAIN();
