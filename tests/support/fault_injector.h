#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/engine.h"
#include "platform/files.h"
#include "platform/registry.h"

namespace corvessa::testing {

/// Counts the platform calls of a scenario and lets one of them fail, so that a sweep can run the
/// scenario once for each. Trace lines are not counted: losing one changes nothing.
class FaultInjector {
 public:
  /// Counts anew from here; the nth call (from 1) fails, 0 for none.
  void FailAt(std::size_t n);
  /// Calls since FailAt.
  std::size_t Calls() const { return calls_; }
  /// The call that failed, such as "Files::Write"; empty when none has.
  const std::string& Failed() const { return failed_; }

  /// To be called before each platform call; throws Error when this one is to fail.
  void operator()(std::string_view call);

 private:
  std::size_t calls_ = 0;
  std::size_t fail_at_ = 0;
  std::string failed_;
};

/// Files that fail when the injector says so.
class FaultyFiles final : public platform::Files {
 public:
  FaultyFiles(platform::Files& real, FaultInjector& faults) : real_(real), faults_(faults) {}

  void AppendText(std::string_view path, std::string_view text) override;
  std::string Read(std::string_view path) override;
  void Write(std::string_view path, std::string_view content) override;
  void Copy(std::string_view from, std::string_view to) override;
  void Delete(std::string_view path) override;
  bool FileExists(std::string_view path) override;
  bool FolderExists(std::string_view path) override;
  void CreateFolder(std::string_view path) override;
  void RemoveEmptyFolder(std::string_view path) override;
  std::vector<std::string> List(std::string_view folder) override;
  std::uint32_t Attributes(std::string_view path) override;
  std::int64_t Length(std::string_view path) override;
  std::string TemporaryFolder() override;

 private:
  platform::Files& real_;
  FaultInjector& faults_;
};

/// A registry whose calls fail as a registry fails: with a status, 0 or an empty string.
class FaultyRegistry final : public platform::Registry {
 public:
  FaultyRegistry(platform::Registry& real, FaultInjector& faults);
  platform::RegistryKey& CurrentUser() override { return *current_user_; }
  platform::RegistryKey& LocalMachine() override { return *local_machine_; }

 private:
  platform::RegistryKeyPtr current_user_;
  platform::RegistryKeyPtr local_machine_;
};

/// Engines whose calls fail as calls when the injector says so.
class FaultyEngineFactory final : public platform::EngineFactory {
 public:
  FaultyEngineFactory(platform::EngineFactory& real, FaultInjector& faults)
      : real_(real), faults_(faults) {}
  platform::EnginePtr CreateEngine() override;
  platform::EngineStringVectorPtr CreateStringVector() override;

 private:
  platform::EngineFactory& real_;
  FaultInjector& faults_;
};

}  // namespace corvessa::testing
