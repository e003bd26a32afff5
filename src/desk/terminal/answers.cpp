#include "desk/terminal/answers.h"

#include <utility>

#include "base/text.h"

namespace corvessa::desk {
void Answers::AddAnswer(std::string_view argument) {
  const auto [form, control] = SplitArgument(argument, "--answer takes FORM=CONTROL");
  controls_[std::string(form)].push_back({std::string(control), true});
}

void Answers::PutFirst(std::string_view form, const std::vector<std::string>& controls) {
  auto& all = controls_[std::string(form)];
  std::vector<Given> own;
  own.reserve(controls.size());
  for (const std::string& control : controls) own.push_back({control, false});
  all.insert(all.begin(), own.begin(), own.end());
}

bool Answers::HasAnswers(std::string_view form) const {
  const auto found = controls_.find(form);
  return found != controls_.end() && !found->second.empty();
}

std::string Answers::NextAnswer(std::string_view form) {
  if (!HasAnswers(form)) return {};
  auto& controls = controls_.find(form)->second;
  std::string next = std::move(controls.front().control);
  controls.pop_front();
  return next;
}

std::vector<std::string> Answers::Unused() const {
  std::vector<std::string> unused;
  for (const auto& [form, controls] : controls_) {
    for (const Given& given : controls) {
      if (!given.by_user) continue;
      unused.push_back(ForDisplay(form) + "=" + ForDisplay(ControlIn(given.control)));
    }
  }
  return unused;
}

std::string_view ControlIn(std::string_view answer) {
  return answer.substr(0, answer.find(':'));
}

}  // namespace corvessa::desk
