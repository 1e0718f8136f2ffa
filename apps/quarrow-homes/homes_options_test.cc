// The options of this server alone; quarrow-lmtpd's tests try those that servers share.
#include "apps/quarrow-homes/homes_options.h"

#include <gtest/gtest.h>

namespace Quarrow::HomesServer {
namespace {

using Delivery::AddressCase;
using std::chrono::seconds;

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "quarrow-homes");
  return parse_options(static_cast<int>(arguments.size()), arguments.data());
}

TEST(HomesOptions, HaveDefaults) {
  const Parsed parsed = parse({});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome) << parsed.text;
  const Options& options = parsed.options;
  EXPECT_EQ(std::vector<std::string>{"/run/quarrow/homes"}, options.server.listen);
  EXPECT_EQ("/var/lib/quarrow/homes.sqlite", options.homes);
  EXPECT_EQ("+", options.reading.delimiters);
  EXPECT_EQ(AddressCase::folded, options.reading.address_case);
  EXPECT_EQ(20U, options.server.workers);
  EXPECT_EQ(seconds(60), options.server.patience.silence);
  EXPECT_EQ(seconds(120), options.server.patience.transaction);
  EXPECT_EQ(seconds(1), options.server.patience.when_busy);
}

TEST(HomesOptions, AreReadFromTheCommandLine) {
  const Parsed parsed = parse({"--homes", "/srv/homes", "--recipient-delimiter", "-", "--keep-case",
                               "--workers", "3", "--busy-patience", "2"});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome) << parsed.text;
  EXPECT_EQ("/srv/homes", parsed.options.homes);
  EXPECT_EQ("-", parsed.options.reading.delimiters);
  EXPECT_EQ(AddressCase::kept, parsed.options.reading.address_case);
  EXPECT_EQ(3U, parsed.options.server.workers);
  EXPECT_EQ(seconds(2), parsed.options.server.patience.when_busy);
}

TEST(HomesOptions, NameTheOptionThatIsWrong) {
  EXPECT_EQ("--homes: must not be empty", parse({"--homes", ""}).text);
  EXPECT_EQ("--recipient-delimiter: not of the characters !#$%&*+-./=?^_{|}~: @",
            parse({"--recipient-delimiter", "@"}).text);
}

}  // namespace
}  // namespace Quarrow::HomesServer
