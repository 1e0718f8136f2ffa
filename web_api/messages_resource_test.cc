// Lists of messages, and one message.
#include "web_api/mail_test_support.h"

namespace Quarrow::WebApi {
namespace {

using MessagesResource = MailTest;

TEST_F(MessagesResource, ShowWhatPeopleKnowAMessageBy) {
  const std::string text =
      "From: =?utf-8?q?B=C3=B6b?= <bob@example.org>\nSubject: =?utf-8?b?R3LDvMOfZQ==?=\n"
      "List-Id: News <news.example.org>\n\nText\n";
  put(".Work/cur/1777896000.M1P2.mx:2,FS", text);
  const auto body = listed("?folder=Work");
  EXPECT_EQ("Work", body["folder"]);
  EXPECT_EQ(1, body["total"]);
  EXPECT_EQ(nullptr, body["cursor"]);
  ASSERT_EQ(1U, body["messages"].size());
  const auto message = body["messages"][0];
  EXPECT_EQ("Böb <bob@example.org>", message["from"]);
  EXPECT_EQ("Grüße", message["subject"]);
  EXPECT_EQ("News <news.example.org>", message["list"]);
  EXPECT_EQ(1777896000, message["received"]);
  EXPECT_EQ(true, message["seen"]);
  EXPECT_EQ(text.size(), message["bytes"]);
  const auto alone = ask("GET", "/messages/" + message["id"].get<std::string>() + "?folder=Work");
  EXPECT_EQ(200, alone.status);
  EXPECT_EQ(message, body_of(alone));
}

TEST_F(MessagesResource, HaveNoValueForWhatIsMissing) {
  put("new/1777896000.M1P2.mx", "To: a@example.org\n\n");
  put("new/1777895000.M1P2.mx", "");
  const auto messages = listed()["messages"];
  ASSERT_EQ(2U, messages.size());
  for (const auto& message : messages) {
    EXPECT_EQ(nullptr, message["from"]);
    EXPECT_EQ(nullptr, message["subject"]);
    EXPECT_EQ(nullptr, message["list"]);
    EXPECT_EQ(false, message["seen"]);
  }
  EXPECT_EQ(0, messages[1]["bytes"]);
}

TEST_F(MessagesResource, AreListedPageByPage) {
  put_all({"e", "d", "c", "b", "a"});
  const auto first = listed("?count=2");
  EXPECT_EQ("e d", subjects_of(first["messages"]));
  EXPECT_EQ(5, first["total"]);
  put("new/1777897000.new.mx", mail_about("newer"));
  std::filesystem::remove(path("cur/1777895999.a.mx:2,"));
  const auto second = listed("?count=2&cursor=" + first["cursor"].get<std::string>());
  EXPECT_EQ("c b", subjects_of(second["messages"])) << "whatever comes and goes meanwhile";
  const auto third = listed("?count=2&cursor=" + second["cursor"].get<std::string>());
  EXPECT_EQ("a", subjects_of(third["messages"]));
  EXPECT_EQ(nullptr, third["cursor"]);
  EXPECT_EQ(nullptr, listed("?count=5&cursor=" + first["cursor"].get<std::string>())["cursor"]);
}

TEST_F(MessagesResource, KeepTheirIdentifierWhileFlagsChange) {
  const std::string hostile = "1777896000.\xff/../%2f\"<script>";
  std::string name = hostile;
  name.replace(name.find('/'), 1, "|");
  name.replace(name.find('/'), 1, "|");
  put("new/" + name, mail_about("a"));
  const std::string id = listed()["messages"][0]["id"];
  EXPECT_EQ(std::string::npos, id.find_first_not_of("0123456789abcdef")) << id;
  std::filesystem::rename(path("new/" + name), path("cur/" + name + ":2,S"));
  EXPECT_EQ(id, listed()["messages"][0]["id"]);
  const auto response = ask("GET", "/messages/" + id);
  EXPECT_EQ(200, response.status);
  EXPECT_EQ(true, body_of(response)["seen"]);
}

TEST_F(MessagesResource, AreNotFoundElsewhere) {
  put("cur/1777896000.a.mx:2,S", mail_about("a"));
  const std::string id = listed()["messages"][0]["id"];
  EXPECT_EQ("404", problem_in(ask("GET", "/messages/" + id + "?folder=Work")));
  // what leads to the file itself, and what is no identifier
  for (const char* other : {"2e2e2f6375722f313737373839363030302e612e6d78", "00", "a", "xyz", "AB"})
    EXPECT_EQ("404", problem_in(ask("GET", std::string("/messages/") + other))) << other;
}

TEST_F(MessagesResource, AreOfAFolderOfTheUser) {
  std::filesystem::create_directory_symlink(".Work", path(".Link"));
  make_folder("cur/.Inner");
  for (const char* folder : {"None", "Link", "..", "../Maildir", "work", "", "Work/", "cur",
                             ".Work", "/", "cur/.Inner", "Work/../.."})
    EXPECT_EQ("404 folder", problem_in(ask("GET", std::string("/messages?folder=") + folder)))
        << folder;
}

TEST_F(MessagesResource, AreNoneWithoutAMaildir) {
  std::filesystem::remove_all(path(""));
  const auto body = listed();
  EXPECT_EQ(0, body["total"]);
  EXPECT_EQ(ordered_json::array(), body["messages"]);
  EXPECT_EQ("404 folder", problem_in(ask("GET", "/messages?folder=Work")));
}

TEST_F(MessagesResource, TakeNoOtherParameters) {
  for (const char* count : {"0", "201", "-1", "a", "1a", ""})
    EXPECT_EQ("400 count", problem_in(ask("GET", std::string("/messages?count=") + count)))
        << count;
  for (const char* cursor : {"a", "00", "xx", "0000000000000000"})
    EXPECT_EQ("400 cursor", problem_in(ask("GET", std::string("/messages?cursor=") + cursor)))
        << cursor;
  EXPECT_EQ("400 other", problem_in(ask("GET", "/messages?other=1")));
}

TEST_F(MessagesResource, AreReadByTheirOwnerOnly) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  put("cur/1777896000.a.mx:2,S", mail_about("secret"));
  std::filesystem::permissions(path("cur/1777896000.a.mx:2,S"), std::filesystem::perms(0600));
  constexpr uid_t nobody = 65534;
  ASSERT_EQ(0, chown(folder_.c_str(), nobody, nobody));
  const auto messages = listed()["messages"];
  ASSERT_EQ(1U, messages.size());
  EXPECT_EQ(nullptr, messages[0]["subject"]) << "root's file was read for another user";
}

}  // namespace
}  // namespace Quarrow::WebApi
