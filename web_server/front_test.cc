// What a worker makes of requests.
#include "web_server/front.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::WebServer {
namespace {

using Kind = Call::Kind;

class WebFront : public testing::Test {
 protected:
  // The call is in `call` then, unless there was none.
  Http::Response answer(const Http::Request& request, bool trusts_proxy_user = false) {
    call.reset();
    const auto ask = [this](const Call& asked) {
      call = asked;
      return Http::Response{299, {}, ""};
    };
    return Front(ask, trusts_proxy_user, page).answer(request);
  }

  int status(const Http::Request& request) { return answer(request).status; }

  std::optional<Call> call;
  PageFiles page;
};

Http::Request sign_in(const std::string& body) {
  return {"POST", "/api/v1/session", {{"content-type", "application/json"}}, body};
}

TEST_F(WebFront, PassesOnWhatIsBelowTheApi) {
  const struct {
    const char* method;
    const char* target;
    Kind kind;
  } cases[] = {{"GET", "/api/v1/rules", Kind::work},
               {"PUT", "/api/v1/rules/3?x=1", Kind::work},
               {"POST", "/api/v1/session/x", Kind::work},
               {"GET", "/api/v1/session", Kind::show_session},
               {"GET", "/api/v1/session?x", Kind::show_session},
               {"DELETE", "/api/v1/session", Kind::sign_out},
               {"DELETE", "/api/v1/sessions", Kind::sign_out_everywhere}};
  for (const auto& c : cases) {
    EXPECT_EQ(299, status({c.method, c.target, {}, "body"})) << c.target;
    ASSERT_TRUE(call);
    EXPECT_EQ(c.kind, call->kind) << c.method << ' ' << c.target;
    EXPECT_EQ(c.target, call->request.target);
    EXPECT_EQ(c.method, call->request.method);
    EXPECT_EQ("body", call->request.body);
  }
}

TEST_F(WebFront, KnowsNothingElse) {
  for (const char* const target : {"/", "/api", "/api/v1", "/api/v2/rules", "/x/v1/rules"})
    EXPECT_EQ(404, status({"GET", target, {}, ""})) << target;
  EXPECT_EQ(400, status({"GET", "/api/v1/../rules", {}, ""}));
  for (const char* const method : {"PUT", "PATCH", "OPTIONS"})
    EXPECT_EQ(405, status({method, "/api/v1/session", {}, ""})) << method;
  for (const char* const method : {"GET", "POST", "PUT"})
    EXPECT_EQ(405, status({method, "/api/v1/sessions", {}, ""})) << method;
  EXPECT_FALSE(call);
}

TEST_F(WebFront, ServesThePageBesideTheApi) {
  const TemporaryFolder folder;
  folder.write("index.html", "page");
  folder.write("api.js", "script");
  EXPECT_TRUE(page.read(folder.path()).empty());
  EXPECT_EQ("page", answer({"GET", "/?x=1", {{"sec-fetch-site", "cross-site"}}, ""}).body);
  EXPECT_EQ("script", answer({"GET", "/api.js", {}, ""}).body);
  EXPECT_EQ(404, status({"GET", "/api", {}, ""}));
  EXPECT_EQ(404, status({"GET", "/x", {}, ""}));
  EXPECT_FALSE(call);
}

TEST_F(WebFront, ReadsWhatTheBrowserAndTheProxySay) {
  const Http::Headers headers = {{"cookie", "a=b; __Host-quarrow=session"},
                                 {"x-quarrow-token", "token"},
                                 {"x-real-ip", "192.0.2.1"},
                                 {"x-quarrow-user", "alice@example.org"}};
  EXPECT_EQ(299, status({"GET", "/api/v1/rules", headers, ""}));
  EXPECT_EQ("session", call->session);
  EXPECT_EQ("token", call->token);
  EXPECT_EQ("192.0.2.1", call->client);
  EXPECT_EQ("", call->proxy_user);
  EXPECT_EQ("", call->user);
  (void)answer({"GET", "/api/v1/rules", headers, ""}, true);
  EXPECT_EQ("alice@example.org", call->proxy_user);
}

TEST_F(WebFront, BelievesNoHeaderThatIsThereTwice) {
  const Http::Headers twice = {{"x-quarrow-user", "alice@example.org"},
                               {"x-real-ip", "192.0.2.1"},
                               {"x-quarrow-token", "token"},
                               {"x-quarrow-user", "alice@example.org"},
                               {"x-real-ip", "192.0.2.1"},
                               {"x-quarrow-token", "token"}};
  (void)answer({"GET", "/api/v1/rules", twice, ""}, true);
  EXPECT_EQ("", call->proxy_user);
  EXPECT_EQ("", call->client);
  EXPECT_EQ("", call->token);
}

TEST_F(WebFront, TurnsPagesOfOtherSitesAway) {
  const struct {
    Http::Headers headers;
    int want;
  } cases[] = {
      {{}, 299},
      {{{"sec-fetch-site", "same-origin"}}, 299},
      {{{"sec-fetch-site", "none"}}, 299},
      {{{"sec-fetch-site", "same-site"}}, 403},
      {{{"sec-fetch-site", "cross-site"}}, 403},
      {{{"host", "a.example"}, {"origin", "https://a.example"}}, 299},
      {{{"host", "a.example:8443"}, {"origin", "https://a.example:8443"}}, 299},
      {{{"host", "a.example"}, {"origin", "https://a.example:8443"}}, 403},
      {{{"host", "a.example"}, {"origin", "https://b.example"}}, 403},
      {{{"host", "a.example"}, {"origin", "https://a.example.b.example"}}, 403},
      {{{"host", "a.example"}, {"origin", "null"}}, 403},
      {{{"host", "a.example"}, {"origin", ""}}, 403},
      {{{"host", "a.example"}, {"host", "b.example"}, {"origin", "https://a.example"}}, 403},
      {{{"origin", "https://"}}, 403},
  };
  for (const auto& c : cases) {
    Http::Request request = {"DELETE", "/api/v1/session", c.headers, ""};
    EXPECT_EQ(c.want, status(request)) << (c.headers.empty() ? "" : c.headers.back().second);
    request.target = "/api/v1/rules";
    EXPECT_EQ(c.want, status(request));
  }
}

TEST_F(WebFront, ReadsASignIn) {
  Http::Request request = sign_in(R"({"user":"alice@example.org","password":"p\u00e4ss"})");
  request.headers.emplace_back("x-real-ip", "192.0.2.1");
  EXPECT_EQ(299, status(request));
  EXPECT_EQ(Kind::sign_in, call->kind);
  EXPECT_EQ("alice@example.org", call->user);
  EXPECT_EQ("p\u00e4ss", call->password);
  EXPECT_EQ("192.0.2.1", call->client);
}

TEST_F(WebFront, RefusesASignInThatCannotBeRead) {
  const char* const bodies[] = {"",
                                "{",
                                "[]",
                                "null",
                                "\"user\"",
                                R"({"user":"alice@example.org"})",
                                R"({"password":"secret"})",
                                R"({"user":1,"password":"secret"})",
                                R"({"user":"alice@example.org","password":["secret"]})",
                                "{\"user\":\"\xff\",\"password\":\"secret\"}"};
  for (const char* const body : bodies) {
    EXPECT_EQ(400, status(sign_in(body))) << body;
    EXPECT_FALSE(call);
  }
  EXPECT_NE(std::string::npos, answer(sign_in(R"({"user":"a"})")).body.find("/password"));
  EXPECT_EQ(400, status(sign_in(std::string(200000, '['))));
}

// Another site's form can send no JSON.
TEST_F(WebFront, WantsASignInAsJson) {
  Http::Request request = sign_in(R"({"user":"alice@example.org","password":"secret"})");
  for (const char* const type : {"", "text/plain", "application/jsonx"}) {
    request.headers = {{"content-type", type}};
    EXPECT_EQ(415, status(request)) << type;
  }
  request.headers = {{"content-type", "application/json; charset=utf-8"}};
  EXPECT_EQ(299, status(request));
}

TEST_F(WebFront, LeavesSigningInToAProxyThatDoesSo) {
  EXPECT_EQ(403, answer(sign_in(R"({"user":"a@example.org","password":"b"})"), true).status);
  EXPECT_EQ(403, answer({"DELETE", "/api/v1/session", {}, ""}, true).status);
  EXPECT_EQ(299, answer({"GET", "/api/v1/session", {}, ""}, true).status);
}

}  // namespace
}  // namespace Quarrow::WebServer
