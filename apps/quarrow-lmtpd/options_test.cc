// Options on the command line and in a file, and complaints about wrong ones.
#include "apps/quarrow-lmtpd/options.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtpd {
namespace {

using Server::LogTarget;
using std::chrono::seconds;

// Each option, set to another value than its default.
const struct {
  std::string option;
  std::vector<const char*> values;
} settings[] = {{"--listen", {"/run/a", "127.0.0.1:24"}},
                {"--socket-mode", {"0620"}},
                {"--socket-group", {"postfix"}},
                {"--health", {"/run/health"}},
                {"--monitor", {"127.0.0.1:9153"}},
                {"--user", {"vmail"}},
                {"--root", {"/srv/mail"}},
                {"--spool", {"/srv/spool"}},
                {"--host-name", {"mx.example.org"}},
                {"--recipient-delimiter", {"+-"}},
                {"--folder-dots", {"listescape"}},
                {"--metrics", {"/srv/metrics"}},
                {"--log", {"syslog"}},
                {"--workers", {"4"}},
                {"--client-patience", {"600"}},
                {"--transaction-time", {"900"}},
                {"--busy-patience", {"20"}},
                {"--max-clients-per-address", {"7"}},
                {"--max-size", {"1000"}},
                {"--max-in-memory", {"5000"}},
                {"--max-line", {"2000"}},
                {"--max-recipients", {"30"}},
                {"--evaluation-time", {"5"}},
                {"--evaluation-memory", {"256"}},
                {"--helper-messages", {"9"}}};

// The options that take a value, and the name of the value in the help.
const struct {
  const char* option;
  const char* value;
} options_with_values[] = {{"--config", "FILE"},
                           {"--listen", "SOCKET"},
                           {"--socket-mode", "MODE"},
                           {"--socket-group", "GROUP"},
                           {"--user", "USER"},
                           {"--root", "DIR"},
                           {"--spool", "DIR"},
                           {"--host-name", "NAME"},
                           {"--recipient-delimiter", "CHARS"},
                           {"--metrics", "FILE"},
                           {"--log", "stderr|syslog"},
                           {"--folder-dots", "inbox|listescape"},
                           {"--workers", "N"},
                           {"--max-size", "N"},
                           {"--max-in-memory", "N"},
                           {"--max-line", "N"},
                           {"--max-recipients", "N"},
                           {"--client-patience", "N"},
                           {"--transaction-time", "N"},
                           {"--busy-patience", "N"},
                           {"--health", "SOCKET"},
                           {"--monitor", "SOCKET"},
                           {"--max-clients-per-address", "N"},
                           {"--evaluation-time", "N"},
                           {"--evaluation-memory", "N"},
                           {"--helper-messages", "N"}};

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "quarrow-lmtpd");
  return parse_options(static_cast<int>(arguments.size()), arguments.data());
}

Parsed parse_file(const std::string& content, std::vector<const char*> arguments = {}) {
  const TemporaryFolder folder;
  const std::string path = folder.write("config", content);
  arguments.insert(arguments.begin(), {"--config", path.c_str()});
  return parse(arguments);
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::vector<const char*> settings_as_arguments() {
  std::vector<const char*> arguments;
  for (const auto& [option, values] : settings) {
    arguments.push_back(option.c_str());
    arguments.insert(arguments.end(), values.begin(), values.end());
  }
  return arguments;
}

std::string settings_as_a_file() {
  std::string text;
  for (const auto& [option, values] : settings) {
    text += option.substr(2) + '=' + values.front();
    for (std::size_t i = 1; i < values.size(); ++i) text += std::string(" ") + values[i];
    text += '\n';
  }
  return text;
}

void expect_settings(const Parsed& parsed) {
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome) << parsed.text;
  const Options& options = parsed.options;
  EXPECT_EQ((std::vector<std::string>{"/run/a", "127.0.0.1:24"}), options.server.listen);
  EXPECT_EQ(mode_t{0620}, options.server.rights.mode);
  EXPECT_EQ("postfix", options.server.rights.group);
  EXPECT_EQ("/run/health", options.server.health);
  EXPECT_EQ("127.0.0.1:9153", options.server.monitor);
  EXPECT_EQ("vmail", options.server.user);
  EXPECT_EQ("/srv/mail", options.root);
  EXPECT_EQ("/srv/spool", options.spool);
  EXPECT_EQ("mx.example.org", options.host_name);
  EXPECT_EQ("+-", options.recipient_delimiter);
  EXPECT_EQ(Delivery::FolderDots::listescape, options.folder_dots);
  EXPECT_EQ("/srv/metrics", options.server.metrics);
  EXPECT_EQ(LogTarget::system_log, options.server.log);
  EXPECT_EQ(4U, options.server.workers);
  EXPECT_EQ(seconds(600), options.server.patience.silence);
  EXPECT_EQ(seconds(900), options.server.patience.transaction);
  EXPECT_EQ(seconds(20), options.server.patience.when_busy);
  EXPECT_EQ(5000U, options.limits.in_memory);
  EXPECT_EQ(9U, options.evaluation.messages);
  EXPECT_EQ(7U, options.server.clients_per_address);
  EXPECT_EQ(1000U, options.limits.message);
  EXPECT_EQ(2000U, options.limits.line);
  EXPECT_EQ(30U, options.limits.recipients);
  EXPECT_EQ(seconds(5), options.evaluation.time);
  EXPECT_EQ(std::uint64_t{256} << 20U, options.evaluation.memory);
}

TEST(LmtpdOptions, AreReadFromTheCommandLine) { expect_settings(parse(settings_as_arguments())); }

TEST(LmtpdOptions, AreReadFromAFile) { expect_settings(parse_file(settings_as_a_file())); }

TEST(LmtpdOptions, HaveDefaults) {
  const Parsed parsed = parse({});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome);
  const Options& options = parsed.options;
  EXPECT_EQ(std::vector<std::string>{"/run/quarrow/lmtp"}, options.server.listen);
  EXPECT_EQ(mode_t{0660}, options.server.rights.mode);
  EXPECT_EQ("", options.server.rights.group + options.server.user + options.server.metrics);
  EXPECT_EQ("/var/spool/quarrow", options.root);
  EXPECT_EQ("/var/tmp", options.spool);
  EXPECT_NE("", options.host_name);
  EXPECT_EQ("+", options.recipient_delimiter);
  EXPECT_EQ(Delivery::FolderDots::inbox, options.folder_dots);
  EXPECT_EQ(LogTarget::standard_error, options.server.log);
  EXPECT_EQ(10U, options.server.workers);
  EXPECT_EQ(seconds(300), options.server.patience.silence);
  EXPECT_EQ(seconds(1800), options.server.patience.transaction);
  EXPECT_EQ(seconds(30), options.server.patience.when_busy);
  EXPECT_EQ("", options.server.health);
  EXPECT_EQ("", options.server.monitor);
  EXPECT_EQ(1000U, options.server.clients_per_address);
  EXPECT_EQ(67108864U, options.limits.message);
  EXPECT_EQ(1000U, options.limits.line);
  EXPECT_EQ(1000U, options.limits.recipients);
  EXPECT_EQ(seconds(2), options.evaluation.time);
  EXPECT_EQ(std::uint64_t{512} << 20U, options.evaluation.memory);
}

TEST(LmtpdOptions, KeepTheCaseOfAddressesOnRequest) {
  using Delivery::AddressCase;
  EXPECT_EQ(AddressCase::folded, parse({}).options.address_case);
  EXPECT_EQ(AddressCase::kept, parse({"--keep-case"}).options.address_case);
  EXPECT_EQ(AddressCase::kept, parse_file("keep-case=true\n").options.address_case);
  EXPECT_EQ(AddressCase::folded, parse_file("keep-case=false\n").options.address_case);
}

TEST(LmtpdOptions, KeepAJournalOnRequest) {
  EXPECT_FALSE(parse({}).options.keeps_journal);
  EXPECT_TRUE(parse({"--journal"}).options.keeps_journal);
  EXPECT_TRUE(parse_file("journal=true\n").options.keeps_journal);
}

TEST(LmtpdOptions, ExpectAProxyOnRequest) {
  EXPECT_FALSE(parse({}).options.server.behind_proxy);
  EXPECT_TRUE(parse({"--proxy-protocol"}).options.server.behind_proxy);
  EXPECT_TRUE(parse_file("proxy-protocol=true\n").options.server.behind_proxy);
}

TEST(LmtpdOptions, OnTheCommandLineOverrideTheFile) {
  const Parsed parsed = parse_file("workers=4\nroot=/srv/mail\n", {"--workers", "5"});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome);
  EXPECT_EQ(5U, parsed.options.server.workers);
  EXPECT_EQ("/srv/mail", parsed.options.root);
}

TEST(LmtpdOptions, MayLeaveAddressesWithoutExtensions) {
  EXPECT_EQ("", parse({"--recipient-delimiter", ""}).options.recipient_delimiter);
  EXPECT_EQ("", parse_file("recipient-delimiter=\"\"\n").options.recipient_delimiter);
}

TEST(LmtpdOptions, TakeNumbersInDecimal) {
  EXPECT_EQ(10U, parse({"--workers", "010"}).options.server.workers);
  EXPECT_EQ(Parsed::Outcome::wrong, parse({"--workers", "0x10"}).outcome);
}

// A wrong value of an option, and the complaint.
const struct {
  const char* option;
  const char* value;
  const char* want;
} faults[] = {
    {"--workers", "0", "not a whole number from 1 to 1000: 0"},
    {"--workers", "1001", "not a whole number from 1 to 1000: 1001"},
    {"--workers", "many", "not a whole number from 1 to 1000: many"},
    {"--workers", "", "not a whole number from 1 to 1000: "},
    {"--workers", "2.5", "not a whole number from 1 to 1000: 2.5"},
    {"--busy-patience", "0", "not a whole number from 1 to 86400: 0"},
    {"--max-size", "0", "not a whole number from 1 to 1099511627776: 0"},
    {"--max-size", "64M", "not a whole number from 1 to 1099511627776: 64M"},
    {"--max-size", "99999999999999999999999",
     "not a whole number from 1 to 1099511627776: 99999999999999999999999"},
    {"--max-line", "1", "not a whole number from 2 to 1099511627776: 1"},
    {"--max-recipients", "0", "not a whole number from 1 to 1000000: 0"},
    {"--evaluation-time", "601", "not a whole number from 1 to 600: 601"},
    {"--evaluation-memory", "159", "not a whole number from 160 to 65536: 159"},
    {"--socket-mode", "rw", "not a mode such as 0660: rw"},
    {"--socket-mode", "06600", "not a mode such as 0660: 06600"},
    {"--socket-mode", "0668", "not a mode such as 0660: 0668"},
    {"--socket-mode", "", "not a mode such as 0660: "},
    {"--log", "paper", "neither stderr nor syslog: paper"},
    {"--listen", "", "must not be empty"},
    {"--health", "", "must not be empty"},
    {"--monitor", "", "must not be empty"},
    {"--root", "", "must not be empty"},
    {"--spool", "", "must not be empty"},
    {"--host-name", "", "not a host's name, ASCII without blanks: "},
    {"--host-name", "mx example", "not a host's name, ASCII without blanks: mx example"},
    {"--folder-dots", "dovecot", "neither inbox nor listescape: dovecot"},
    {"--recipient-delimiter", "+@", "not of the characters !#$%&*+-./=?^_{|}~: +@"},
};

TEST(LmtpdOptions, NameTheOptionAndItsValuesWhereOneIsWrong) {
  for (const auto& c : faults) {
    const Parsed parsed = parse({c.option, c.value});
    EXPECT_EQ(Parsed::Outcome::wrong, parsed.outcome) << c.option << ' ' << c.value;
    EXPECT_EQ(std::string(c.option) + ": " + c.want, parsed.text);
  }
}

TEST(LmtpdOptions, NameAFileThatIsNotThere) {
  const Parsed parsed = parse({"--config", "/no/such/file"});
  EXPECT_EQ(Parsed::Outcome::wrong, parsed.outcome);
  EXPECT_EQ(0U, parsed.text.find("--config: /no/such/file ")) << parsed.text;
}

TEST(LmtpdOptions, AreRefusedWithoutAValueTwiceOrUnknown) {
  for (const auto& [option, value] : options_with_values) {
    const Parsed parsed = parse({option});
    EXPECT_EQ(Parsed::Outcome::wrong, parsed.outcome) << option;
    EXPECT_EQ(0U, parsed.text.find(std::string(option) + ": ")) << parsed.text;
  }
  EXPECT_TRUE(contains(parse({"--workers", "1", "--workers", "2"}).text, "--workers: "));
  EXPECT_TRUE(contains(parse({"--nonsense"}).text, "--nonsense"));
  EXPECT_TRUE(contains(parse({"stray"}).text, "stray"));
}

TEST(LmtpdOptions, OfAFileAreCheckedAlike) {
  EXPECT_EQ("--workers: not a whole number from 1 to 1000: 0", parse_file("workers=0\n").text);
  const Parsed unknown = parse_file("worker=1\n");
  EXPECT_EQ(Parsed::Outcome::wrong, unknown.outcome);
  EXPECT_EQ(0U, unknown.text.find("--config: ")) << unknown.text;
  EXPECT_TRUE(contains(unknown.text, "worker")) << unknown.text;
}

TEST(LmtpdOptions, AreExplainedWhenAsked) {
  const Parsed help = parse({"--help"});
  EXPECT_EQ(Parsed::Outcome::help, help.outcome);
  for (const auto& [option, value] : options_with_values)
    EXPECT_TRUE(contains(help.text, std::string(option) + ' ' + value)) << option;
  const Parsed version = parse({"--version"});
  EXPECT_EQ(Parsed::Outcome::help, version.outcome);
  EXPECT_EQ("quarrow-lmtpd " QUARROW_VERSION "\n", version.text);
}

}  // namespace
}  // namespace Quarrow::Lmtpd
