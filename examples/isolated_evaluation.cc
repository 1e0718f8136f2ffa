// Says what a script does with a message, without trusting either. Arguments: the script, the
// message.
#include <fcntl.h>
#include <quarrow/delivery/delivery_plan.h>
#include <quarrow/delivery/evaluator.h>
#include <sys/stat.h>

#include <iostream>

int main(int /*argc*/, char** argv) {
  using namespace Quarrow::Delivery;
  Evaluator evaluator;  // once, before there are threads
  const int message = open(argv[2], O_RDONLY | O_CLOEXEC);
  struct stat found = {};
  if (fstat(message, &found) != 0) return 1;
  const Evaluation evaluation = evaluator.evaluate(
      message, static_cast<std::uint64_t>(found.st_size), found.st_mtime, argv[1]);
  const Plan plan = plan_for(evaluation);
  for (const std::string& mailbox : plan.mailboxes)
    std::cout << (mailbox.empty() ? "Inbox" : mailbox) << '\n';
  std::cout << "rule: " << evaluation.rule << "\nnote: " << plan.note << '\n';
}
