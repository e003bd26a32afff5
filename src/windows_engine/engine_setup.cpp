#include "windows_engine/engine_setup.h"

#include <ole2.h>
#include <shlobj.h>

#include "system/process.h"
#include "windows/com/errors.h"
#include "windows_engine/local_paths.h"
#include "windows_engine/worker.h"

namespace corvessa::windows {
namespace {

namespace fs = std::filesystem;

constexpr auto kProductFolder = L"Nimbra Communications\\Corvessa Professional";

}  // namespace

fs::path DataFolder() {
  wchar_t folder[MAX_PATH];
  com::Check(SHGetFolderPathW(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr,
                              SHGFP_TYPE_CURRENT, folder));
  return fs::path(folder) / kProductFolder;
}

engine::EngineConfig UserEngineConfig() {
  const fs::path folder = DataFolder();
  engine::EngineConfig config;
  config.rings_folder = folder / "keys";
  config.adk_file = folder / "adk.txt";
  config.local_path = LocalPath;
  config.new_temporary_path = NewTemporaryPath;
  config.may_commit = Worker::MayCommit;
  return config;
}

std::shared_ptr<engine::OpenPgpEngine> OpenUserEngine() {
  system::LockSecrets();
  return engine::CreateOpenPgpEngine(UserEngineConfig());
}

}  // namespace corvessa::windows
