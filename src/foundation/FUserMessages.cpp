#include "foundation/FUserMessages.h"

namespace vantor {

void FCapturedMessages::report(Severity severity, std::string_view text) {
  messages_.push_back({severity, std::string(text)});
}

int FCapturedMessages::ask(std::string_view text, const std::vector<std::string>&, int defaultChoice) {
  questions_.emplace_back(text);
  if (nextAnswer_ < answers_.size()) return answers_[nextAnswer_++];
  return defaultChoice;
}

bool FCapturedMessages::contains(std::string_view text) const {
  for (const Message& m : messages_) {
    if (m.text.find(text) != std::string::npos) return true;
  }
  for (const std::string& q : questions_) {
    if (q.find(text) != std::string::npos) return true;
  }
  return false;
}

void FCapturedMessages::clear() {
  messages_.clear();
  questions_.clear();
  answers_.clear();
  nextAnswer_ = 0;
}

std::string formatMessage(std::string_view format, std::initializer_list<std::string_view> arguments) {
  std::string result;
  auto next = arguments.begin();
  for (size_t i = 0; i < format.size(); ++i) {
    if (next != arguments.end() && format[i] == '%' && i + 1 < format.size() && format[i + 1] == 's') {
      result.append(*next++);
      ++i;
    } else {
      result.push_back(format[i]);
    }
  }
  return result;
}

}  // namespace vantor
