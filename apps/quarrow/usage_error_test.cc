// The option parser's messages, as it makes them.
#include "apps/quarrow/usage_error.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "apps/quarrow/listing.h"

namespace Quarrow::Command {
namespace {

const struct {
  std::vector<std::string> arguments;
  const char* plain;
} cases[] = {{{}, "a subcommand is missing"},
             {{"sub", "--text"}, "--text needs TEXT behind it"},
             {{"sub", "--text", "a", "--text", "b"}, "--text is given more than once"},
             {{"sub", "--all", "--any"}, "--any and --all exclude each other"},
             {{"sub", "--any=x"}, "--any takes no value"},
             {{"sub", "--number", "5x"}, "--number is a whole number from 1 to 99, not 5x"},
             {{"sub", "--number", "100"}, "--number is a whole number from 1 to 99, not 100"},
             {{"sub", "--number", "a\nb"}, "--number is a whole number from 1 to 99, not a\nb"},
             {{"sub", "-f", "x"}, "--format is table, tab or json, not x"},
             {{"sub"}, "--needed is required"}};

std::string message_of(std::vector<std::string> arguments) {
  CLI::App app("", "program");
  app.require_subcommand(1);
  CLI::App* const sub = app.add_subcommand("sub", "");
  std::string text;
  int number = 0;
  sub->add_option("--text", text)->type_name("TEXT");
  sub->add_option("--number", number)->check(CLI::Range(1, 99));
  bool is_any = false;
  const auto any = sub->add_flag("--any", is_any);
  sub->add_flag("--all")->excludes(any);
  ListingForm form = ListingForm::table;
  add_format_option(*sub, form);
  sub->add_option("--needed", text)->required();
  std::reverse(arguments.begin(), arguments.end());
  try {
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    return error.what();
  }
  return "";
}

TEST(PlainUsageError, SaysWhatIsWrong) {
  for (const auto& c : cases) EXPECT_EQ(c.plain, plain_usage_error(message_of(c.arguments)));
}

TEST(PlainUsageError, IsShortForAnyText) {
  EXPECT_EQ(200U, plain_usage_error(std::string(1000000, 'x')).size());
}

}  // namespace
}  // namespace Quarrow::Command
