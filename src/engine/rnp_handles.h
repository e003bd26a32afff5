#pragma once

#include <memory>
#include <rnp/rnp.h>
#include <rnp/rnp_err.h>
#include <string>
#include <type_traits>

#include "system/process.h"

namespace corvessa::engine {

/// Frees every kind of librnp handle.
struct RnpDeleter {
  void operator()(rnp_ffi_t ffi) const { rnp_ffi_destroy(ffi); }
  void operator()(rnp_key_handle_t key) const { rnp_key_handle_destroy(key); }
  void operator()(rnp_uid_handle_t uid) const { rnp_uid_handle_destroy(uid); }
  void operator()(rnp_signature_handle_t signature) const {
    rnp_signature_handle_destroy(signature);
  }
  void operator()(rnp_input_t input) const { rnp_input_destroy(input); }
  void operator()(rnp_output_t output) const { rnp_output_destroy(output); }
  void operator()(rnp_op_generate_t op) const { rnp_op_generate_destroy(op); }
  void operator()(rnp_op_encrypt_t op) const { rnp_op_encrypt_destroy(op); }
  void operator()(rnp_op_sign_t op) const { rnp_op_sign_destroy(op); }
  void operator()(rnp_op_verify_t op) const { rnp_op_verify_destroy(op); }
};

template <typename Handle>
using Rnp = std::unique_ptr<std::remove_pointer_t<Handle>, RnpDeleter>;

using Ffi = Rnp<rnp_ffi_t>;
using Key = Rnp<rnp_key_handle_t>;
using UserId = Rnp<rnp_uid_handle_t>;
using Signature = Rnp<rnp_signature_handle_t>;
using Input = Rnp<rnp_input_t>;
using Output = Rnp<rnp_output_t>;
using GenerateOp = Rnp<rnp_op_generate_t>;
using EncryptOp = Rnp<rnp_op_encrypt_t>;
using SignOp = Rnp<rnp_op_sign_t>;
using VerifyOp = Rnp<rnp_op_verify_t>;

/// Throws EngineFailure (-11) with the library's own text for a result that is no success.
void Check(rnp_result_t result);

/// Calls a librnp function whose last argument receives a new handle: Make<Key>(rnp_locate_key, …).
template <typename Owner, typename Function, typename... Arguments>
Owner Make(Function function, Arguments... arguments) {
  typename Owner::pointer handle = nullptr;
  Check(function(arguments..., &handle));
  return Owner(handle);
}

/// The same for functions whose first argument receives the handle.
template <typename Owner, typename Function, typename... Arguments>
Owner Create(Function function, Arguments... arguments) {
  typename Owner::pointer handle = nullptr;
  Check(function(&handle, arguments...));
  return Owner(handle);
}

/// Calls a librnp function whose last argument receives a string that the caller frees.
template <typename Function, typename... Arguments>
std::string Text(Function function, Arguments... arguments) {
  char* text = nullptr;
  Check(function(arguments..., &text));
  std::string copy = text ? text : "";
  rnp_buffer_destroy(text);
  return copy;
}

/// Calls a librnp function whose last argument receives a plain value.
template <typename Value, typename Function, typename... Arguments>
Value Get(Function function, Arguments... arguments) {
  Value value{};
  Check(function(arguments..., &value));
  return value;
}

/// An empty key store of the library.
Ffi MakeFfi();

/// Keeps the library's log lines off the terminal while it lives; the library offers no switch. A
/// store of the library must be destroyed while the stream is the one that it was made with.
using QuietLibrary = system::QuietErrorStream;

}  // namespace corvessa::engine
