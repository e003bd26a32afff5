#include "support/scripted_engine.h"

namespace corvessa::testing {

std::string ScriptedStringVector::Item(std::int16_t index) const {
  if (index < 0 || index >= Size()) Raise(kInvalidArgument);
  return items[static_cast<std::size_t>(index)];
}

void ScriptedEngine::Always(std::string operation, Answer answer) {
  always_[std::move(operation)] = std::move(answer);
}

void ScriptedEngine::Once(std::string operation, Answer answer) {
  once_[std::move(operation)].push_back(std::move(answer));
}

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

ScriptedEngine::Answer ScriptedEngine::Next(const std::string& operation) {
  if (auto& queue = once_[operation]; !queue.empty()) {
    Answer answer = std::move(queue.front());
    queue.pop_front();
    return answer;
  }
  if (const auto found = always_.find(operation); found != always_.end()) return found->second;
  return {.status = operation == "VerifyText" || operation == "VerifyFile" ? 1 : 0};
}

platform::EngineStatus ScriptedEngine::Play(const std::string& operation,
                                            std::initializer_list<std::string_view> arguments,
                                            std::string* text, Vector* items, Vector* unknown) {
  calls_.push_back({operation, {arguments.begin(), arguments.end()}});
  const Answer answer = Next(operation);
  if (answer.thrown) throw *answer.thrown;
  if (text) *text = answer.text;
  for (const auto& item : answer.items) {
    if (items) items->Add(item);
  }
  for (const auto& item : answer.unknown_items) {
    if (unknown) unknown->Add(item);
  }
  return answer.status;
}

platform::EnginePtr ScriptedEngineFactory::CreateEngine() {
  ++engines_created;
  if (refusal) throw *refusal;
  return engine;
}

}  // namespace corvessa::testing
