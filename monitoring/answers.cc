// Two resources.
#include "monitoring/answers.h"

#include "http/problem.h"
#include "http/target.h"

namespace Quarrow::Monitoring {
namespace {

// Why the server serves no client, a line; empty when it does.
std::string fault_of(const Server::Health& health, const Sources& sources) {
  if (health.is_stopping) return "the server is stopping\n";
  if (health.workers == 0) return "no worker is there\n";
  const std::string fault = sources.fault();
  return fault.empty() ? "" : fault + '\n';
}

Http::Response health_answer(const Sources& sources) {
  const Server::Health health = sources.health();
  const std::string fault = fault_of(health, sources);
  return {fault.empty() ? 200 : 503,
          {{"content-type", "text/plain; charset=utf-8"}},
          fault + text_of(health)};
}

Http::Response metrics_answer(const Sources& sources) {
  return {200, {{"content-type", "text/plain; version=0.0.4; charset=utf-8"}}, sources.metrics()};
}

const struct {
  const char* name;
  Http::Response (*answer)(const Sources& sources);
} resources[] = {{"health", health_answer}, {"metrics", metrics_answer}};

}  // namespace

Http::Response answer(const Http::Request& request, const Sources& sources) {
  const auto target = Http::parse_target(request.target);
  for (const auto& resource : resources) {
    if (!target || target->segments != std::vector<std::string>{resource.name}) continue;
    if (request.method == "GET") return resource.answer(sources);
    Http::Response refusal = Http::problem(405, "This is only there to be read.");
    refusal.headers.emplace_back("allow", "GET, HEAD");
    return refusal;
  }
  return Http::problem(404, "There are only /health and /metrics.");
}

}  // namespace Quarrow::Monitoring
