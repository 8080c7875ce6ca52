#pragma once
// The one path by which the library speaks to the user: reports and
// questions with choices. The command line prints to stderr; tests capture.

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

class FUserMessages {
 public:
  enum class Severity { kInfo, kWarning, kError };
  virtual ~FUserMessages() = default;
  virtual void report(Severity severity, std::string_view text) = 0;
  // Asks a question; returns the index of the chosen answer.
  virtual int ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) = 0;
};

// Keeps every report and answers questions from a script (or the default).
class FCapturedMessages : public FUserMessages {
 public:
  struct Message {
    Severity severity;
    std::string text;
  };
  void report(Severity severity, std::string_view text) override;
  int ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) override;

  // Answers given to the next questions, in order; then the defaults.
  void queueAnswer(int answer) { answers_.push_back(answer); }
  const std::vector<Message>& messages() const { return messages_; }
  const std::vector<std::string>& questions() const { return questions_; }
  bool contains(std::string_view text) const;
  void clear();

 private:
  std::vector<Message> messages_;
  std::vector<std::string> questions_;
  std::vector<int> answers_;
  size_t nextAnswer_ = 0;
};

// Fills the %s places of a message in the system's printf form, in order.
std::string formatMessage(std::string_view format, std::initializer_list<std::string_view> arguments);

}  // namespace vantor
