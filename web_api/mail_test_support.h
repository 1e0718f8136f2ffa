// A user who has mail.
#ifndef QUARROW_WEB_API_MAIL_TEST_SUPPORT_H_
#define QUARROW_WEB_API_MAIL_TEST_SUPPORT_H_

#include <unistd.h>

#include <filesystem>
#include <string>

#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {

// A message of a few lines.
inline std::string mail_about(const std::string& subject) {
  return "From: Bob <bob@example.org>\nTo: alice@example.org\nSubject: " + subject +
         "\nMessage-ID: <" + subject + "@example.org>\n\nText\n";
}

class MailTest : public WebApiTest {
 protected:
  MailTest() {
    make_folder("");
    make_folder(".Work");
  }

  std::string path(const std::string& name) const { return folder_ + "/Maildir/" + name; }

  void make_folder(const std::string& name) const {
    for (const char* part : {"cur", "new", "tmp"})
      std::filesystem::create_directories(path(name) + '/' + part);
  }

  // Files a message under a name such as ".Work/cur/1777896000.a.mx:2,S".
  void put(const std::string& name, const std::string& text) const { write_file(path(name), text); }

  // Messages in the inbox, the first one the newest, with these subjects.
  void put_all(const std::vector<std::string>& subjects) const {
    int time = 1777896000;
    for (const auto& subject : subjects)
      put("cur/" + std::to_string(time--) + ".a.mx:2,", mail_about(subject));
  }

  // "a b c": the subjects of messages, or examples with messages, in their order.
  static std::string subjects_of(const ordered_json& list) {
    std::string all;
    for (const auto& item : list) {
      const ordered_json& message = item.contains("message") ? item["message"] : item;
      all += (all.empty() ? "" : " ") + message["subject"].get<std::string>();
    }
    return all;
  }

  ordered_json listed(const std::string& parameters = "") const {
    const auto response = ask("GET", "/messages" + parameters);
    EXPECT_EQ(200, response.status) << response.body;
    return body_of(response);
  }
};

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_MAIL_TEST_SUPPORT_H_
