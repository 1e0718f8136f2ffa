// Imported rules and their originals, run over the same messages by the same interpreter.
#include <gtest/gtest.h>
#include <quarrow/filter_list.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

#include "administration/rules_text.h"
#include "importing/importing_test_support.h"
#include "message_filters/mailbox_name.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow::Importing {
namespace {

using MessageFilters::FilterList__;

std::vector<std::string> example_messages() {
  std::vector<std::string> messages;
  for (const auto& entry : std::filesystem::directory_iterator(EXAMPLES_FOLDER "/mail")) {
    std::ifstream file(entry.path());
    messages.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return messages;
}

// Messages of which each test of made_test() holds for some.
std::vector<std::string> made_messages() {
  std::vector<std::string> messages;
  for (const char* from : {"Bob <bob@example.org>", "boss@example.org"})
    for (const char* to : {"alice@example.org", "Carol <carol@example.net>, dev@example.net"})
      for (const char* subject : {"Re: report", "The Report", "a.b", "[dev] a*b"})
        for (const std::size_t size : {std::size_t{0}, std::size_t{1500}, std::size_t{3000}})
          messages.push_back(std::string("From: ") + from + "\nTo: " + to + "\nCc: x@example.org" +
                             "\nSubject: " + subject + "\nX-Tag: two\n\n" + std::string(size, 'x') +
                             '\n');
  return messages;
}

// Where a message goes; nothing where the interpreter can't read an address.
std::set<std::string> places(SieveMatch& matcher, const std::string& message) {
  const SieveMatchResult result = outcome(matcher, message);
  if (result.error != SieveMatchResult::NONE) return {};
  std::set<std::string> all;
  for (const auto& action : result.actions)
    all.insert(action.type == SieveAction::FILEINTO
                   ? MessageFilters::readable_mailbox_name(action.mailbox)
                   : "INBOX");
  return all.empty() ? std::set<std::string>{"INBOX"} : all;
}

// Expects the rules of a script to send each message where the script does, unless there is a loss.
// How many messages went elsewhere than to the inbox.
std::size_t compare(const std::string& script, const std::vector<std::string>& messages) {
  const ImportedRules rules = rules_of(RulesFormat::sieve, script);
  if (!rules.losses.empty()) return 0;
  const auto list = FilterList__::Create();
  for (const auto& rule : rules.rules) list->append(rule.filter);
  const std::string made = Administration::script_text(list, false);
  const auto original = matcher_of(script);
  const auto imported = matcher_of(made);
  EXPECT_TRUE(original && imported) << script << made;
  std::size_t filed = 0;
  for (const auto& message : messages) {
    const auto expected = places(*original, message);
    const auto actual = places(*imported, message);
    if (expected.empty() || actual.empty()) continue;
    EXPECT_EQ(expected, actual) << script << made << message;
    if (expected.count("INBOX") == 0) ++filed;
  }
  return filed;
}

// Scripts of the subset that the interpreter knows, by chance.
class RandomScript {
 public:
  explicit RandomScript(unsigned seed) : random_(seed) {}

  std::string text() {
    std::string script = with_requirements("");
    for (std::size_t left = 1 + below(4); left > 0; --left) {
      script += "if " + condition(2) + block();
      for (std::size_t more = below(3); more > 0; --more)
        script += "elsif " + condition(1) + block();
    }
    return script;
  }

 private:
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_()) % bound; }

  std::string condition(int depth) {
    const std::size_t kind = depth == 0 ? 3 : below(4);
    if (kind == 3) return test();
    if (kind == 2) return "not " + condition(depth - 1);
    std::string list = kind == 0 ? "anyof (" : "allof (";
    for (std::size_t left = below(3); left > 0; --left) list += condition(depth - 1) + ", ";
    return list + condition(depth - 1) + ") ";
  }

  std::string test() {
    static const char* const tests[] = {
        R"(header :contains "subject" "report" )",
        R"(header :comparator "i;octet" :contains "subject" "Report" )",
        R"(header :is ["subject", "x-tag"] ["a.b", "two"] )",
        R"(header :matches "Subject" "Re:*" )",
        R"(header :matches "subject" "*report" )",
        R"(header :contains ["subject", "x-tag"] ["dev", "a*b"] )",
        R"(header :is "subject" "the report" )",
        R"(address :is "from" "boss@example.org" )",
        R"(address :contains ["to", "cc"] "alice" )",
        R"(address :all :is ["from", "to", "cc"] ["dev@example.net", "bob@example.org"] )",
        R"(size :over 1K )",
        R"(size :under 2K )",
        R"(true )",
        R"(false )"};
    return tests[below(std::size(tests))];
  }

  std::string block() {
    static const char* const blocks[] = {"{ fileinto \"A\"; stop; }\n",
                                         "{ fileinto \"B/C\"; keep; stop; }\n",
                                         "{ fileinto \"Gr&APYA3w-e\"; fileinto \"D\"; stop; }\n",
                                         "{ keep; stop; }\n", "{ stop; }\n"};
    return blocks[below(std::size(blocks))];
  }

  std::minstd_rand random_;
};

TEST(SieveMeaning, OfWhatFrontEndsWriteStaysTheSame) {
  auto messages = example_messages();
  const auto made = made_messages();
  messages.insert(messages.end(), made.begin(), made.end());
  const std::size_t filed = compare(
      with_requirements(
          "# rule:[Lists]\n"
          "if anyof (header :contains \"list-id\" \"example\", header :contains \"subject\" "
          "\"[dev]\")\n{\n\tfileinto \"Lists\";\n\tstop;\n}\n"
          "# rule:[Boss]\n"
          "if allof (address :all :is \"from\" \"boss@example.org\", not size :over 2K)\n"
          "{\n\tfileinto \"Gr\xC3\xB6\xC3\x9F"
          "e/Boss\";\n\tkeep;\n\tstop;\n}\n"
          "## Filter: Rest\n"
          "if header :matches [\"subject\"] [\"*Report*\", \"Re: *\"] { fileinto \"Rest\"; }\n"
          "elsif address :contains [\"to\", \"cc\"] \"carol\" { fileinto \"Carol\"; }\n"
          "else { keep; }\n"),
      messages);
  EXPECT_LT(20U, filed);
}

TEST(SieveMeaning, OfRandomScriptsStaysTheSame) {
  const auto messages = made_messages();
  std::size_t filed = 0;
  for (unsigned seed = 0; seed < 150; ++seed) filed += compare(RandomScript(seed).text(), messages);
  EXPECT_LT(1000U, filed);
}

TEST(SieveMeaning, OfOurOwnScriptsStaysTheSame) {
  const auto list = FilterList__::Create();
  const auto messages = made_messages();
  const std::string rules = with_requirements(
      "if header :matches \"subject\" \"a.b*\" { fileinto \"A\"; stop; }\n"
      "if not header :matches \"subject\" \"*a\\\\*b\" { fileinto \"Gr&APYA3w-e\"; stop; }\n"
      "if address :contains [\"to\", \"cc\"] \"carol\" { fileinto \"B\"; keep; stop; }");
  for (const auto& rule : rules_of(RulesFormat::sieve, rules).rules) list->append(rule.filter);
  EXPECT_LT(20U, compare(Administration::script_text(list, false), messages));
}

}  // namespace
}  // namespace Quarrow::Importing
