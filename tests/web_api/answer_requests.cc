// Answers requests of one user, for tests.
//
// Usage: answer_requests ROOT USER
//
// Sets up the root, and reads requests from standard input, one JSON object a line:
// {"method", "target", "headers": {}, "body"}. Prints each answer likewise:
// {"status", "headers": {}, "body"}. Another process that changes the rules is not waited for.
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "administration/root_setup.h"
#include "web_api/api.h"

namespace {

using nlohmann::json;
using Quarrow::Http::Request;
using Quarrow::Http::Response;

Request request_of(const json& line) {
  Request request = {line.at("method"), line.at("target"), {}, line.at("body")};
  for (const auto& header : line.at("headers").items())
    request.headers.emplace_back(header.key(), header.value());
  return request;
}

json line_of(const Response& response) {
  json headers = json::object();
  for (const auto& header : response.headers) headers[header.first] = header.second;
  return {{"status", response.status}, {"headers", headers}, {"body", response.body}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  const std::string root = argv[1];
  Quarrow::WebApi::Context context = {EmailAddress(argv[2]), root, root + "/fields.xml"};
  context.patience = std::chrono::milliseconds(0);
  Quarrow::Administration::ConfigurationSetup configuration;
  Quarrow::Administration::CatalogueSetup catalogue;
  if (set_up_configuration(root, {}, configuration) ||
      set_up_catalogue(context.catalogue, catalogue))
    return 1;
  std::string line;
  while (std::getline(std::cin, line))
    std::cout << line_of(answer(context, request_of(json::parse(line)))).dump() << std::endl;
}
