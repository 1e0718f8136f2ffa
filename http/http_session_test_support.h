// A session whose handler tells what it was asked.
#ifndef QUARROW_HTTP_HTTP_SESSION_TEST_SUPPORT_H_
#define QUARROW_HTTP_HTTP_SESSION_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "http/http_session.h"

namespace Quarrow::Http {

// The request as a line of text: GET /path: body
inline Response echo(const Request& request) {
  return {200, {}, request.method + ' ' + request.target + ": " + request.body};
}

// `text` without what stands between `start` and the next line end, both included.
inline std::string without_line(std::string text, const std::string& start) {
  const std::size_t at = text.find(start);
  if (at != std::string::npos) text.erase(at, text.find("\r\n", at) + 2 - at);
  return text;
}

// Runs a session, and keeps what it sends.
class TestSession {
 public:
  explicit TestSession(const Limits& limits = Limits(), Handler respond = echo)
      : session(
            [this, respond](const Request& request) {
              requests.push_back(request);
              return respond(request);
            },
            limits,
            [this](const std::string& text) {
              answers.push_back(without_line(text, "date: "));
              return connected;
            },
            [this] { return others_wait; }) {
    session.greet();
  }
  TestSession(const TestSession&) = delete;

  void say(const std::string& text) { session.take(text.data(), text.size()); }

  // The statuses of all answers: "200, 400".
  std::string statuses() const {
    std::string out;
    for (const auto& answer : answers) out += (out.empty() ? "" : ", ") + answer.substr(9, 3);
    return out;
  }

  // The body of the last answer; empty without one.
  std::string body() const {
    if (answers.empty()) return "";
    return answers.back().substr(answers.back().find("\r\n\r\n") + 4);
  }

  bool has_closed() const {
    return session.is_over() && !answers.empty() &&
           answers.back().find("\r\nconnection: close\r\n") != std::string::npos;
  }

  std::vector<Request> requests;     // that came to the handler
  std::vector<std::string> answers;  // without their dates
  bool connected = true;
  bool others_wait = false;
  Session session;
};

inline std::string get(const std::string& target) {
  return "GET " + target + " HTTP/1.1\r\nHost: x\r\n\r\n";
}

inline std::string post(const std::string& headers, const std::string& body) {
  return "POST / HTTP/1.1\r\nHost: x\r\n" + headers + "\r\n" + body;
}

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_HTTP_SESSION_TEST_SUPPORT_H_
