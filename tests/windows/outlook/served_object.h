#pragma once

#include <functional>
#include <map>
#include <memory>
#include <ole2.h>
#include <string>
#include <string_view>
#include <vector>
#include <wrl/client.h>

#include "platform/subscription.h"
#include "windows/com/variant.h"

/// Objects of the stand-in Outlook as COM shows them: strict about names, kinds and types of
/// arguments and threads, and counted.
namespace corvessa::testing {

using DispatchPtr = Microsoft::WRL::ComPtr<IDispatch>;

/// What was done with all served objects.
struct Ledger {
  /// Counts the call; its failure when it is the one that is to fail.
  HRESULT Note(const std::string& call);

  std::map<std::string, int> calls;
  /// References that others hold, and objects that live.
  LONG references = 0;
  LONG objects = 0;
  /// The call that fails, counted down; 0 for none.
  int fails_after = 0;
  HRESULT failure = S_OK;
  /// How many calls fail from that one on.
  int failures = 1;
  /// The last one that failed; empty until then.
  std::string failed;
  /// Events and other calls into the add-in that it answered with a failure.
  int errors = 0;
  DWORD thread = GetCurrentThreadId();
};
Ledger& TheLedger();

/// The arguments of one call, in the order in which they are written.
class Arguments {
 public:
  explicit Arguments(std::vector<com::Variant> values) : values_(std::move(values)) {}

  /// Whether it was given.
  bool Has(std::size_t place) const;
  const com::Variant& operator[](std::size_t place) const { return values_[place]; }
  std::string Text(std::size_t place) const { return values_[place].Text(); }
  std::int32_t Number(std::size_t place) const { return values_[place].Number(); }
  bool Flag(std::size_t place, bool otherwise = false) const;

 private:
  std::vector<com::Variant> values_;
};

struct Member {
  std::string name;
  /// DISPATCH_METHOD, DISPATCH_PROPERTYGET or DISPATCH_PROPERTYPUT.
  WORD kind;
  /// A letter for each parameter: s text, n number, b Boolean, o object, v text or number; a
  /// capital may be left out.
  std::string parameters;
  std::function<com::Variant(const Arguments&)> run;
};

inline com::Variant ValueOf(const DispatchPtr& object) {
  return com::Variant(object.Get());
}
inline com::Variant ValueOf(com::Variant value) {
  return value;
}
/// Nobody would hold the object any more.
com::Variant ValueOf(IDispatch* object) = delete;
template <typename Value>
com::Variant ValueOf(const Value& value) {
  return com::Variant(value);
}

template <typename Run>
Member Get(std::string name, Run run) {
  return {std::move(name), DISPATCH_PROPERTYGET, "",
          [run](const Arguments&) { return ValueOf(run()); }};
}
template <typename Run>
Member Put(std::string name, char type, Run run) {
  return {std::move(name), DISPATCH_PROPERTYPUT, std::string(1, type), [run](const Arguments& a) {
            run(a);
            return com::Variant();
          }};
}
template <typename Run>
Member Method(std::string name, std::string parameters, Run run) {
  return {std::move(name), DISPATCH_METHOD, std::move(parameters), [run](const Arguments& a) {
            run(a);
            return com::Variant();
          }};
}
template <typename Run>
Member Function(std::string name, WORD kind, std::string parameters, Run run) {
  return {std::move(name), kind, std::move(parameters),
          [run](const Arguments& a) { return ValueOf(run(a)); }};
}

/// The event set of an object: subscribes a sink, as long as the result lives.
struct Events {
  IID iid = IID_NULL;
  std::function<platform::Subscription(DispatchPtr sink)> subscribe;
};

/// `model` is what ModelOf gives back.
DispatchPtr Serve(std::string type, std::vector<Member> members, Events events = {},
                  std::shared_ptr<void> model = nullptr);

/// Null for an object that is none of ours.
std::shared_ptr<void> ModelOf(IDispatch* object);

/// Raises an event; arguments in the order in which they are written.
void Fire(const DispatchPtr& sink, DISPID event, std::vector<VARIANT> arguments);
/// A last argument by reference.
void Fire(const DispatchPtr& sink, DISPID event, std::vector<VARIANT> arguments, bool& cancel);

}  // namespace corvessa::testing
