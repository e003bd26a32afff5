#include "support/scripted_engine.h"

namespace corvessa::testing {

std::vector<std::string> ScriptedEngine::Operations() const {
  std::vector<std::string> operations;
  for (const auto& call : calls_) operations.push_back(call.operation);
  return operations;
}

std::string ScriptedEngine::Joined(const platform::IEngineStringVector& vector) {
  std::string joined;
  for (std::int32_t i = 0; i < vector.Size(); ++i) {
    joined += (i > 0 ? ", " : "") + vector.Item(static_cast<std::int16_t>(i));
  }
  return joined;
}

platform::EngineStatus ScriptedEngine::Play(const std::string& operation,
                                            std::initializer_list<std::string_view> arguments,
                                            std::string* text, Vector* items, Vector* unknown) {
  calls_.push_back({operation, {arguments.begin(), arguments.end()}});
  Answer answer{.status = operation.starts_with("Verify") ? 1 : 0};
  if (const auto found = always_.find(operation); found != always_.end()) answer = found->second;
  if (auto& queue = once_[operation]; !queue.empty()) {
    answer = std::move(queue.front());
    queue.pop_front();
  }
  if (answer.thrown) throw *answer.thrown;
  if (text) *text = answer.text;
  for (const auto& item : answer.items) items->Add(item);
  for (const auto& item : answer.unknown_items) unknown->Add(item);
  return answer.status;
}

}  // namespace corvessa::testing
