// Scripts and messages in files, for tests of the evaluation in a helper process.
#ifndef QUARROW_DELIVERY_EVALUATOR_TEST_SUPPORT_H_
#define QUARROW_DELIVERY_EVALUATOR_TEST_SUPPORT_H_

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "quarrow/delivery/evaluator.h"
#include "system/descriptor.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow::Delivery {

class EvaluationTest : public testing::Test {
 protected:
  // Evaluates `message` by the user's script as it is now.
  Evaluation evaluate(Evaluator& evaluator, const std::string& message, std::time_t received = 0) {
    const Descriptor file(open(folder_.write("message", message).c_str(), O_RDONLY | O_CLOEXEC));
    return evaluator.evaluate(file.get(), message.size(), received, script_path());
  }

  Evaluation evaluate(Evaluator& evaluator, const std::string& script, const std::string& message) {
    set_script(script);
    return evaluate(evaluator, message);
  }

  // The value of a header of `message`, as rules see it.
  HeaderValue header_value(Evaluator& evaluator, const std::string& message,
                           const std::string& name, std::time_t received = 0) {
    const Descriptor file(open(folder_.write("message", message).c_str(), O_RDONLY | O_CLOEXEC));
    return evaluator.header_value(file.get(), received, name);
  }

  void set_script(const std::string& script) { folder_.write(".delivery_filter", script); }
  std::string script_path() const { return folder_.file(".delivery_filter"); }

  const TemporaryFolder folder_;
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATOR_TEST_SUPPORT_H_
