#pragma once

#include "base/guard.h"
#include "ui/form.h"

namespace corvessa {

/// Unloads a form when its caller is done with it, also when that is because of an error.
class UnloadAtEnd {
 public:
  explicit UnloadAtEnd(Form& form) : form_(form) {}
  ~UnloadAtEnd() {
    Ignoring([&] { form_.Unload(); });
  }
  UnloadAtEnd(const UnloadAtEnd&) = delete;
  UnloadAtEnd& operator=(const UnloadAtEnd&) = delete;

 private:
  Form& form_;
};

}  // namespace corvessa
