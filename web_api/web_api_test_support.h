// A user whose rules are changed by requests.
#ifndef QUARROW_WEB_API_WEB_API_TEST_SUPPORT_H_
#define QUARROW_WEB_API_WEB_API_TEST_SUPPORT_H_

#include <base.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "administration/administration_test_support.h"
#include "administration/root_setup.h"
#include "administration/rules_transaction.h"
#include "web_api/api.h"

namespace Quarrow::WebApi {

using nlohmann::ordered_json;

// A filter as a client sends it, without a number.
inline ordered_json filter_named(const std::string& name, const std::string& word = "word") {
  return {{"enabled", true},
          {"name", name},
          {"relation", "allof"},
          {"tests", ordered_json::array({ordered_json{{"type", "string"},
                                                      {"field", "subject"},
                                                      {"comparator", "contains"},
                                                      {"value", word},
                                                      {"negative", false},
                                                      {"match_case", false}}})},
          {"actions", ordered_json::array({ordered_json{{"method", "move"}, {"target", "Work"}}})}};
}

inline std::string header_in(const Http::Response& response, const std::string& name) {
  const std::string* const value = Http::header_of(response.headers, name);
  return value ? *value : "";
}

inline ordered_json body_of(const Http::Response& response) {
  return ordered_json::parse(response.body);
}

// "422 /tests/0/value": the status, and the places of the mistakes that a problem tells.
inline std::string problem_in(const Http::Response& response) {
  EXPECT_EQ("application/problem+json", header_in(response, "content-type"));
  const ordered_json body = body_of(response);
  EXPECT_EQ(response.status, body.value("status", 0)) << response.body;
  std::string text = std::to_string(response.status);
  if (body.contains("errors"))
    for (const auto& error : body["errors"])
      text += ' ' + error.value(error.contains("pointer") ? "pointer" : "parameter", "");
  return text;
}

class WebApiTest : public testing::Test {
 protected:
  WebApiTest() {
    std::filesystem::create_directories(folder_);
    Administration::ConfigurationSetup setup;
    EXPECT_EQ("", said(Administration::set_up_configuration(root_.path(), {}, setup)));
    EXPECT_EQ("", said(Administration::open_configuration(root_.path())));
    Administration::CatalogueSetup catalogue;
    EXPECT_EQ("", said(Administration::set_up_catalogue(context_.catalogue, catalogue)));
  }
  ~WebApiTest() override { cmdb.system = nullptr; }

  Http::Response ask(const std::string& method, const std::string& target,
                     const ordered_json& body = nullptr, const Http::Headers& headers = {}) const {
    Http::Request request = {method, "/api/v1" + target, headers, ""};
    if (!body.is_null()) {
      request.headers.emplace_back("content-type", "application/json");
      request.body = body.dump();
    }
    return answer(context_, request);
  }

  // A change of the rules as they are now.
  Http::Response change(const std::string& method, const std::string& target,
                        const ordered_json& body = nullptr) const {
    return ask(method, target, body, {{"if-match", tag()}});
  }

  std::string tag() const { return header_in(ask("GET", "/rules"), "etag"); }

  ordered_json filters() const { return body_of(ask("GET", "/rules"))["filters"]; }

  // The names of the filters in their order.
  std::string names() const {
    std::string all;
    for (const auto& filter : filters()) all += filter["name"].get<std::string>() + ' ';
    return all;
  }

  void add(const std::vector<std::string>& names) const {
    for (const auto& name : names)
      ASSERT_EQ(201, change("POST", "/rules", filter_named(name)).status) << name;
  }

  const Administration::TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  Context context_ = {EmailAddress("alice@example.org"), root_.path(), root_.file("fields.xml")};
  const std::string document_ = Administration::rules_document("alice@example.org");
  const std::string script_ = Administration::rules_script("alice@example.org");
};

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_WEB_API_TEST_SUPPORT_H_
