// Commits a rule for a user and runs it over a message. Argument: the folder of the users' folders.
#include <base.h>
#include <quarrow/evaluation.h>
#include <quarrow/user_stores.h>
#include <zvelluser.h>

#include <iostream>
#include <memory>

int main(int /*argc*/, char** argv) {
  using namespace Quarrow::MessageFilters;
  mailuser_set_root(argv[1]);
  const EmailAddress alice("alice@example.org");
  create_path(ZvMailUserId(MAILBOX_USER, alice.address()).prefpath(), 0700);
  const auto rule = Filter__::Create();
  rule->name = "Reports";
  rule->tests.push_back(
      {{Field::STRING, "subject"}, false, false, Comparator::CONTAINS, "figures"});
  rule->actions.push_back({Action::MOVE, "Reports", ""});
  const auto rules = UserMessageFilters__::Create(alice);
  if (!rules->add_filter(rule, 0) || rules->persist() != 0) return 1;

  const std::string text = "From: bob@example.com\nSubject: The quarterly figures\n\nHere.\n";
  const auto message = MimePart::parse(text.data(), text.size());
  const std::unique_ptr<Quarrow::SieveMatch> matcher(Quarrow::SieveMatch::Create(alice, nullptr));
  std::cout << matcher->Match(message.get(), text.size(), time(nullptr)) << '\n';
}
