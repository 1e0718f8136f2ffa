// What balancers and monitoring programs may ask over HTTP.
#ifndef QUARROW_MONITORING_ANSWERS_H_
#define QUARROW_MONITORING_ANSWERS_H_

#include <functional>
#include <string>

#include "http/message.h"
#include "server/health.h"

namespace Quarrow::Monitoring {

// Where the answers come from.
struct Sources {
  std::function<Server::Health()> health;
  std::function<std::string()> metrics;  // in Prometheus' text format, version 0.0.4
  // Why the server can do nothing for its clients, a line; empty when it can.
  std::function<std::string()> fault = [] { return std::string(); };
};

// Answers /health and /metrics. Health is 200 with its line while the server can serve a client,
// though it may have to wait; else 503, with the reason in a line in front of that.
Http::Response answer(const Http::Request& request, const Sources& sources);

}  // namespace Quarrow::Monitoring

#endif  // QUARROW_MONITORING_ANSWERS_H_
