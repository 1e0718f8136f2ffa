// Addresses from options and from the environment.
#include "apps/quarrow/delivery_options.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace Quarrow::Command {
namespace {

using Text = std::optional<std::string>;

const Text none = std::nullopt;

class DeliveryOptionsTest : public testing::Test {
 protected:
  DeliveryOptionsTest() { set_environment({}); }

  // Sets these variables, and no other that the options look at.
  static void set_environment(const std::map<std::string, std::string>& variables) {
    for (const char* const name : {"USER", "DOMAIN", "SENDER", "RECIPIENT", "ORIGINAL_RECIPIENT"})
      unsetenv(name);
    for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
  }
};

const struct {
  Text option;
  std::map<std::string, std::string> environment;
  std::string want;
} users[] = {{"alice@example.org", {}, "alice@example.org"},
             {"alice@example.org", {{"USER", "bob"}, {"DOMAIN", "a.org"}}, "alice@example.org"},
             {"alice", {{"USER", "bob"}, {"DOMAIN", "example.org"}}, "alice@example.org"},
             {none, {{"USER", "bob"}, {"DOMAIN", "example.org"}}, "bob@example.org"},
             {none, {{"USER", "bob@example.net"}}, "bob@example.net"},
             {none, {{"DOMAIN", "example.org"}}, ""},
             {none, {{"USER", "bob"}}, ""},
             {none, {{"USER", "bob"}, {"DOMAIN", ""}}, ""},
             {none, {}, ""},
             {"", {{"USER", "bob"}, {"DOMAIN", "example.org"}}, ""},
             {"@example.org", {}, ""},
             {"alice@", {}, ""}};

TEST_F(DeliveryOptionsTest, NameTheUserInFull) {
  for (const auto& c : users) {
    set_environment(c.environment);
    DeliveryOptions options;
    options.user = c.option;
    EXPECT_EQ(c.want, user_of(options)) << c.option.value_or("none");
  }
}

const struct {
  Text option;
  std::map<std::string, std::string> environment;
  Text want;
} senders[] = {{none, {}, none},
               {"bob@example.net", {}, "bob@example.net"},
               {"bob@example.net", {{"SENDER", "eve@example.net"}}, "bob@example.net"},
               {none, {{"SENDER", "eve@example.net"}}, "eve@example.net"},
               {"<bob@example.net>", {}, "bob@example.net"},
               {"<bob@example.net", {}, "<bob@example.net"},
               {"bob@example.net>", {}, "bob@example.net>"},
               {"<", {}, "<"},
               {"", {{"SENDER", "eve@example.net"}}, ""},
               {"<>", {}, ""},
               {"MAILER-DAEMON", {}, ""},
               {"<MAILER-DAEMON>", {}, ""},
               {none, {{"SENDER", ""}}, ""}};

TEST_F(DeliveryOptionsTest, NameTheSenderOrNone) {
  for (const auto& c : senders) {
    set_environment(c.environment);
    DeliveryOptions options;
    options.sender = c.option;
    EXPECT_EQ(c.want, sender_of(options)) << c.option.value_or("none");
  }
}

TEST_F(DeliveryOptionsTest, NameTheMostFinalRecipient) {
  DeliveryOptions options;
  EXPECT_EQ("user", recipient_of(options, "user"));
  set_environment({{"ORIGINAL_RECIPIENT", "original"}});
  EXPECT_EQ("original", recipient_of(options, "user"));
  set_environment({{"ORIGINAL_RECIPIENT", "original"}, {"RECIPIENT", "final"}});
  EXPECT_EQ("final", recipient_of(options, "user"));
  options.original_recipient = "given original";
  EXPECT_EQ("given original", recipient_of(options, "user"));
  options.final_recipient = "";
  EXPECT_EQ("given original", recipient_of(options, "user"));
  options.final_recipient = "given final";
  EXPECT_EQ("given final", recipient_of(options, "user"));
}

TEST_F(DeliveryOptionsTest, LetAPlusSignBeginAnExtensionUnlessToldOtherwise) {
  EXPECT_EQ("+", DeliveryOptions().recipient_delimiter);
}

}  // namespace
}  // namespace Quarrow::Command
