// Messages and Maildirs for unit tests of the delivery.
#ifndef QUARROW_DELIVERY_DELIVERY_TEST_SUPPORT_H_
#define QUARROW_DELIVERY_DELIVERY_TEST_SUPPORT_H_

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/message_file.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Delivery {

// A message in a file of its own.
class TestMessage {
 public:
  explicit TestMessage(const std::string& bytes, const std::string& added_headers = "")
      : descriptor_(open(folder_.write("message", bytes).c_str(), O_RDONLY | O_CLOEXEC)),
        file_{descriptor_.get(), bytes.size(), added_headers} {}

  const MessageFile& file() const { return file_; }

 private:
  const TemporaryFolder folder_;
  const Descriptor descriptor_;
  const MessageFile file_;
};

// The names in a folder, sorted; none when there is no such folder.
inline std::vector<std::string> names_in(const std::string& path) {
  std::vector<std::string> names;
  std::error_code ignored;  // an absent folder holds nothing
  for (const auto& entry : std::filesystem::directory_iterator(path, ignored))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

// The messages in `folder`'s new/, sorted by their file names.
inline std::vector<std::string> messages_in(const std::string& folder) {
  std::vector<std::string> messages;
  for (const auto& name : names_in(folder + "/new"))
    messages.push_back(content_of(folder + "/new/" + name));
  return messages;
}

inline SieveAction make_action(SieveAction::Type type, const std::string& text = "") {
  SieveAction action;
  action.type = type;
  if (type == SieveAction::FILEINTO) action.mailbox(text);
  if (type == SieveAction::REJECT) action.message = text;
  return action;
}

inline SieveAction keep() { return make_action(SieveAction::KEEP); }
inline SieveAction discard() { return make_action(SieveAction::DISCARD); }
inline SieveAction file_into(const std::string& mailbox) {
  return make_action(SieveAction::FILEINTO, mailbox);
}
inline SieveAction reject(const std::string& text) {
  return make_action(SieveAction::REJECT, text);
}

// An evaluation that gave `actions`.
inline Evaluation evaluation_of(const std::vector<SieveAction>& actions) {
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  for (const auto& action : actions) evaluation.result.add_action(action);
  return evaluation;
}

inline Evaluation evaluation_without_result(Evaluation::Outcome outcome,
                                            const std::string& reason = "") {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  evaluation.reason = reason;
  return evaluation;
}

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_DELIVERY_TEST_SUPPORT_H_
