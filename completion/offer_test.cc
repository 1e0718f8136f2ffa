#include "completion/offer.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include "completion/answer.h"

#include <sstream>

namespace Quarrow::Completion {
namespace {

class OfferTest : public ::testing::Test {
 protected:
  OfferTest() {
    app_.add_option("-f,--format", text_, "The form")->type_name("table|tab|json");
    app_.add_option("--name", text_, "The name")->type_name("NAME");
    app_.add_option("-d", text_, "The user")->type_name("USER");
    app_.add_subcommand("add", "Add something");
    app_.add_subcommand("list", "List everything");
  }

  std::string answer_to(std::vector<std::string> arguments) {
    std::ostringstream out;
    const auto names = [](const Cursor& /*cursor*/) -> Offer {
      return {{{"it's a: $name", "first\tof two"}, {"Gr\u00fc\u00dfe", ""}, {"two\nlines", ""}},
              Paths::none};
    };
    arguments.insert(arguments.begin(), "complete");
    answer(app_, arguments, names, out);
    return out.str();
  }

  CLI::App app_{"", "program"};
  std::string text_;
};

TEST_F(OfferTest, NamesSubcommandsThatBeginSo) {
  EXPECT_EQ("words\nadd\tAdd something\nlist\tList everything\n", answer_to({"fish", ""}));
  EXPECT_EQ("words\nlist\tList everything\n", answer_to({"zsh", "l"}));
  EXPECT_EQ("words\nlist\n", answer_to({"bash", "l"}));
}

TEST_F(OfferTest, NamesOptionsByTheirLongNamesIfAny) {
  EXPECT_EQ("words\n--help\n--format\n--name\n-d\n", answer_to({"bash", "-"}));
  EXPECT_EQ("words\n--format\tThe form\n", answer_to({"zsh", "--f"}));
}

TEST_F(OfferTest, NamesTheWordsOfAType) {
  EXPECT_EQ("words\ntable\ntab\n", answer_to({"bash", "--format", "t"}));
  EXPECT_EQ("words\n--format=json\n", answer_to({"bash", "--format=j"}));
  EXPECT_EQ("words\njson\n", answer_to({"bash", "-f", "j"}));
}

TEST_F(OfferTest, LeavesOutWhatNoLineCanHold) {
  EXPECT_EQ("words\nit's a: $name\tfirst of two\nGr\u00fc\u00dfe\t\n",
            answer_to({"zsh", "--name", ""}));
}

TEST_F(OfferTest, TypesOnInTheQuotesThatAreOpen) {
  const struct {
    const char* typed;
    const char* want;
  } cases[] = {
      {"it", R"(it\'s\ a:\ \$name)"},          {R"(it\)", R"(it\'s\ a:\ \$name)"},
      {R"('it'\')", R"('it'\'s\ a:\ \$name)"}, {"'it", R"('it'\''s a: $name)"},
      {R"("it's a)", R"("it's a: \$name)"},    {R"(--name="it's a)", R"(--name="it's a: \$name)"}};
  for (const auto& c : cases) {
    const std::string typed = c.typed;
    const bool has_option = typed.front() == '-';
    EXPECT_EQ("words\n" + std::string(c.want) + '\n',
              has_option ? answer_to({"bash", typed}) : answer_to({"bash", "--name", typed}))
        << typed;
  }
}

TEST(Request, IsThatOfAShell) {
  EXPECT_TRUE(is_request({"complete", "bash", ""}));
  EXPECT_TRUE(is_request({"complete", "zsh", "filter", "a"}));
  EXPECT_TRUE(is_request({"complete", "fish", "f"}));
  EXPECT_FALSE(is_request({"complete", "csh", ""}));
  EXPECT_FALSE(is_request({"complete", "bash"}));
  EXPECT_FALSE(is_request({"complete"}));
  EXPECT_FALSE(is_request({"filter", "bash", ""}));
  EXPECT_FALSE(is_request({}));
}

}  // namespace
}  // namespace Quarrow::Completion
