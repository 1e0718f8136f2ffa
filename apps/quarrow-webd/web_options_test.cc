// Options of the web server, and their faults.
#include "apps/quarrow-webd/web_options.h"

#include <gtest/gtest.h>

#include <vector>

namespace Quarrow::Webd {
namespace {

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "quarrow-webd");
  return parse_options(static_cast<int>(arguments.size()), arguments.data());
}

TEST(WebdOptions, HaveDefaults) {
  const Parsed parsed = parse({"--imap", "imaps://mail.example.org"});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome) << parsed.text;
  const Options& options = parsed.options;
  EXPECT_EQ(std::vector<std::string>{"/run/quarrow-webd/socket"}, options.server.listen);
  EXPECT_EQ(0660U, options.server.rights.mode);
  EXPECT_EQ("/var/spool/quarrow", options.root);
  EXPECT_NE(std::string::npos, options.page.find("/share/quarrow/page"));
  EXPECT_EQ("imaps://mail.example.org", options.imap.url);
  EXPECT_FALSE(options.trusts_proxy_user);
}

TEST(WebdOptions, TakeWhatIsAskedFor) {
  const Parsed parsed =
      parse({"--imap=imap://a", "--imap-ca=/ca", "--root=/r", "--page=/p",
             "--listen=127.0.0.1:8080", "--workers=3", "--max-header=2048", "--max-body=4096",
             "--max-calls=7", "--max-calls-per-user=2", "--request-time=9", "--client-patience=8"});
  ASSERT_EQ(Parsed::Outcome::run, parsed.outcome) << parsed.text;
  const Options& options = parsed.options;
  EXPECT_EQ("/ca", options.imap.ca_file);
  EXPECT_EQ("/r", options.root);
  EXPECT_EQ("/p", options.page);
  EXPECT_EQ(std::vector<std::string>{"127.0.0.1:8080"}, options.server.listen);
  EXPECT_EQ(3U, options.server.workers);
  EXPECT_EQ(2048U, options.http.header);
  EXPECT_EQ(4096U, options.http.body);
  EXPECT_EQ(7U, options.work.children);
  EXPECT_EQ(2U, options.work.children_per_user);
  EXPECT_EQ(std::chrono::seconds(9), options.work.time);
  EXPECT_EQ(std::chrono::seconds(8), options.server.patience.silence);
}

TEST(WebdOptions, WantAWayToSignIn) {
  EXPECT_EQ("nobody could sign in: name a server with --imap, or use --trust-proxy-user",
            parse({}).text);
  EXPECT_EQ(Parsed::Outcome::run, parse({"--trust-proxy-user"}).outcome);
}

TEST(WebdOptions, BelieveAProxyOnlyAtASocketInTheFileSystem) {
  const Parsed parsed =
      parse({"--trust-proxy-user", "--listen", "/run/socket", "--listen", "127.0.0.1:8080"});
  EXPECT_EQ(Parsed::Outcome::wrong, parsed.outcome);
  EXPECT_EQ("--trust-proxy-user: any program of this host can pass for the proxy at 127.0.0.1:8080",
            parsed.text);
}

TEST(WebdOptions, NameTheOneThatIsWrong) {
  const struct {
    const char* option;
    const char* value;
  } cases[] = {{"--imap", "http://mail.example.org"},
               {"--imap-ca", ""},
               {"--root", ""},
               {"--page", ""},
               {"--max-body", "0"},
               {"--max-calls", "x"},
               {"--request-time", "0"},
               {"--max-calls-per-user", "0"},
               {"--max-header", "1"},
               {"--workers", "0"}};
  for (const auto& c : cases) {
    const Parsed parsed = parse({"--trust-proxy-user", c.option, c.value});
    EXPECT_EQ(Parsed::Outcome::wrong, parsed.outcome) << c.option;
    EXPECT_EQ(0U, parsed.text.find(std::string(c.option) + ": ")) << parsed.text;
  }
}

}  // namespace
}  // namespace Quarrow::Webd
