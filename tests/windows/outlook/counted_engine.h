#pragma once

#include <ole2.h>
#include <vector>
#include <wrl/client.h>

/// Notes the calls into the registered engine, and lets them fail, while it lives.
namespace corvessa::testing {

class CountedEngine {
 public:
  CountedEngine();
  ~CountedEngine();
  CountedEngine(const CountedEngine&) = delete;
  CountedEngine& operator=(const CountedEngine&) = delete;

 private:
  std::vector<DWORD> cookies_;
};

}  // namespace corvessa::testing
