// Requests, and what they are answered.
#include "monitoring/answers.h"

#include <gtest/gtest.h>

namespace Quarrow::Monitoring {
namespace {

using Server::Health;

const Health well = {2, 1, false, std::chrono::seconds(5)};

Http::Response ask(const std::string& method, const std::string& target,
                   const Health& health = well) {
  return answer({method, target, {}, ""},
                {[&health] { return health; }, [] { return std::string("lent_total 3\n"); }});
}

std::string type_of(const Http::Response& response) {
  const std::string* const type = Http::header_of(response.headers, "content-type");
  return type == nullptr ? "" : *type;
}

TEST(MonitoringAnswers, CountersAreInPrometheusFormat) {
  const Http::Response response = ask("GET", "/metrics");
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("text/plain; version=0.0.4; charset=utf-8", type_of(response));
  EXPECT_EQ("lent_total 3\n", response.body);
}

TEST(MonitoringAnswers, HealthIsTheLineThatInquiriesGet) {
  const Http::Response response = ask("GET", "/health");
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("text/plain; charset=utf-8", type_of(response));
  EXPECT_EQ("workers=2 busy=1 waiting=no uptime=5\n", response.body);
}

TEST(MonitoringAnswers, AServerWhoseWorkersAreAllBusyIsWell) {
  const Http::Response response = ask("GET", "/health", {2, 2, true, std::chrono::seconds(5)});
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("workers=2 busy=2 waiting=yes uptime=5\n", response.body);
}

TEST(MonitoringAnswers, AServerThatTakesNoClientSaysWhy) {
  const Health without_workers = {0, 0, true, std::chrono::seconds(5)};
  Health stopping = well;
  stopping.is_stopping = true;
  EXPECT_EQ(503, ask("GET", "/health", without_workers).status);
  EXPECT_EQ("no worker is there\nworkers=0 busy=0 waiting=yes uptime=5\n",
            ask("GET", "/health", without_workers).body);
  EXPECT_EQ(503, ask("GET", "/health", stopping).status);
  EXPECT_EQ("the server is stopping\nworkers=2 busy=1 waiting=no uptime=5\n",
            ask("GET", "/health", stopping).body);
  EXPECT_EQ(200, ask("GET", "/metrics", stopping).status);
}

TEST(MonitoringAnswers, AServerThatCanDoNothingSaysWhy) {
  const auto fault = [] { return std::string("/srv/mail: No such file or directory"); };
  const Sources sources = {[] { return well; }, [] { return std::string(); }, fault};
  const Http::Response response = answer({"GET", "/health", {}, ""}, sources);
  EXPECT_EQ(503, response.status);
  EXPECT_EQ(
      "/srv/mail: No such file or directory\n"
      "workers=2 busy=1 waiting=no uptime=5\n",
      response.body);
}

TEST(MonitoringAnswers, ParametersChangeNothing) {
  EXPECT_EQ(200, ask("GET", "/health?from=here").status);
}

TEST(MonitoringAnswers, NothingElseIsThere) {
  for (const char* const target : {"/", "/health/", "/metrics/all", "/Health", "/healthy"})
    EXPECT_EQ(404, ask("GET", target).status) << target;
}

TEST(MonitoringAnswers, NothingIsChanged) {
  for (const char* const method : {"POST", "PUT", "PATCH", "DELETE", "OPTIONS"}) {
    const Http::Response response = ask(method, "/health");
    EXPECT_EQ(405, response.status) << method;
    ASSERT_NE(nullptr, Http::header_of(response.headers, "allow"));
    EXPECT_EQ("GET, HEAD", *Http::header_of(response.headers, "allow"));
  }
}

}  // namespace
}  // namespace Quarrow::Monitoring
