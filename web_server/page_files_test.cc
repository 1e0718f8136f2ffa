// Folders with files, and with what only looks like some.
#include "web_server/page_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::WebServer {
namespace {

using Strings = std::vector<std::string>;

class WebPageFiles : public testing::Test {
 protected:
  WebPageFiles() {
    folder_.write("index.html", "<p>first");
    std::filesystem::create_directory(folder_.file("words"));
    folder_.write("words/en.json", "{}");
  }

  Strings read() { return page_.read(folder_.path()); }

  Http::Response get(const Strings& segments, const Http::Headers& headers = {}) const {
    return page_.answer(segments, {"GET", "", headers, ""});
  }

  // The complaint about a file that is there beside those that are served.
  std::string complaint() {
    const Strings complaints = read();
    EXPECT_EQ(1U, complaints.size());
    EXPECT_EQ("<p>first", get({}).body);
    return complaints.empty() ? "" : complaints.front();
  }

  const TemporaryFolder folder_;
  PageFiles page_;
};

TEST_F(WebPageFiles, AreServedFromTheFolderAndTheFoldersInIt) {
  EXPECT_EQ(Strings(), read());
  for (const Strings& segments : {Strings(), Strings{"index.html"}}) {
    EXPECT_EQ(200, get(segments).status);
    EXPECT_EQ("<p>first", get(segments).body);
  }
  EXPECT_EQ("{}", get({"words", "en.json"}).body);
}

TEST_F(WebPageFiles, StayInMemory) {
  EXPECT_EQ(Strings(), read());
  std::filesystem::remove_all(folder_.path());
  EXPECT_EQ("<p>first", get({}).body);
}

TEST_F(WebPageFiles, AreNothingElse) {
  EXPECT_EQ(Strings(), read());
  const Strings others[] = {{"other.html"},
                            {"words"},
                            {"words", ""},
                            {"words", "en"},
                            {""},
                            {"", ""},
                            {"index.html", ""},
                            {"words", "en.json", ""},
                            {"Index.html"},
                            {"index.htm"},
                            {"words", "x", "en.json"},
                            {"words/en.json", ""}};
  for (const Strings& segments : others)
    EXPECT_EQ(404, get(segments).status) << testing::PrintToString(segments);
}

TEST_F(WebPageFiles, HaveTypes) {
  const struct {
    const char* name;
    const char* type;
  } cases[] = {{"a.html", "text/html; charset=utf-8"},
               {"a.css", "text/css; charset=utf-8"},
               {"a.js", "text/javascript; charset=utf-8"},
               {"a.json", "application/json; charset=utf-8"},
               {"a.svg", "image/svg+xml; charset=utf-8"},
               {"a.png", "image/png"},
               {"a-b_C.9.woff2", "font/woff2"}};
  for (const auto& c : cases) folder_.write(c.name, "x");
  EXPECT_EQ(Strings(), read());
  for (const auto& c : cases) {
    const Http::Response response = get({c.name});
    ASSERT_NE(nullptr, Http::header_of(response.headers, "content-type")) << c.name;
    EXPECT_EQ(c.type, *Http::header_of(response.headers, "content-type"));
  }
}

TEST_F(WebPageFiles, AreNotSentToThoseWhoHaveThem) {
  EXPECT_EQ(Strings(), read());
  const std::string tag = *Http::header_of(get({}).headers, "etag");
  const std::string known[] = {tag, "W/" + tag, "\"x\", " + tag, "\"x\",W/" + tag + " ", "*"};
  for (const std::string& header : known) {
    const Http::Response response = get({}, {{"if-none-match", header}});
    EXPECT_EQ(304, response.status) << header;
    EXPECT_EQ("", response.body);
    EXPECT_EQ(tag, *Http::header_of(response.headers, "etag"));
    EXPECT_EQ("no-cache", *Http::header_of(response.headers, "cache-control"));
  }
  for (const char* const header : {"", "\"x\"", ",", " ", "W/", "x, y"})
    EXPECT_EQ(200, get({}, {{"if-none-match", header}}).status) << header;
  EXPECT_EQ(200, get({}, {{"if-none-match", tag.substr(1)}}).status);
  folder_.write("index.html", "<p>second");
  EXPECT_EQ(Strings(), read());
  EXPECT_EQ(200, get({}, {{"if-none-match", tag}}).status);
}

TEST_F(WebPageFiles, AreReadAndNothingElse) {
  EXPECT_EQ(Strings(), read());
  for (const char* const method : {"POST", "PUT", "PATCH", "DELETE", "OPTIONS"}) {
    const Http::Response response = page_.answer({}, {method, "/", {}, ""});
    EXPECT_EQ(405, response.status) << method;
    EXPECT_EQ("GET, HEAD", *Http::header_of(response.headers, "allow"));
  }
  EXPECT_EQ(404, page_.answer({"other"}, {"POST", "/other", {}, ""}).status);
}

TEST_F(WebPageFiles, AreOfPlainNamesAndKnownTypes) {
  for (const char* const name : {".html", ".a.html", "a", "a.txt", "a.html~", "a b.html", "%61.js",
                                 "a\nb.js", "\xc3\xa4.js", "js", ".js"}) {
    const std::string file = folder_.write(name, "x");
    EXPECT_EQ(file + ": Is not a name or a type that is served", complaint());
    EXPECT_EQ(404, get({name}).status);
    std::filesystem::remove(file);
  }
  std::filesystem::create_directory(folder_.file(".git"));
  folder_.write(".git/a.json", "x");
  EXPECT_EQ(folder_.file(".git/a.json") + ": Is not a name or a type that is served", complaint());
}

TEST_F(WebPageFiles, AreNoLinks) {
  const TemporaryFolder outside;
  const std::string secret = outside.write("secret.html", "secret");
  std::filesystem::create_symlink(secret, folder_.file("a.html"));
  EXPECT_EQ(folder_.file("a.html") + ": Is a symbolic link", complaint());
  EXPECT_EQ(404, get({"a.html"}).status);
  std::filesystem::remove(folder_.file("a.html"));
  std::filesystem::create_directory_symlink(outside.path(), folder_.file("outside"));
  EXPECT_NE("", complaint());
  EXPECT_EQ(404, get({"outside", "secret.html"}).status);
}

TEST_F(WebPageFiles, AreRegularFiles) {
  ASSERT_EQ(0, mkfifo(folder_.file("a.html").c_str(), 0600));
  EXPECT_EQ(folder_.file("a.html") + ": Is not a regular file", complaint());
}

TEST_F(WebPageFiles, AreAtMostOneFolderDeep) {
  std::filesystem::create_directory(folder_.file("words/more.json"));
  folder_.write("words/more.json/deep.json", "x");
  EXPECT_EQ(folder_.file("words/more.json") + ": Is a directory", complaint());
}

TEST_F(WebPageFiles, HaveABound) {
  folder_.write("a.js", std::string(largest_page_file, 'x'));
  EXPECT_EQ(Strings(), read());
  EXPECT_EQ(largest_page_file, get({"a.js"}).body.size());
  folder_.write("a.js", std::string(largest_page_file + 1, 'x'));
  EXPECT_EQ(folder_.file("a.js") + ": Is too large", complaint());
}

TEST_F(WebPageFiles, HaveABoundAltogether) {
  constexpr std::size_t files = largest_page / largest_page_file;
  for (std::size_t i = 0; i < files; ++i)
    folder_.write("z" + std::to_string(i) + ".js", std::string(largest_page_file, 'x'));
  EXPECT_EQ(folder_.file("z" + std::to_string(files - 1) + ".js") + ": Is too large", complaint());
  EXPECT_EQ(200, get({"z0.js"}).status);
}

TEST_F(WebPageFiles, StayWhenAnotherFolderIsNoPage) {
  EXPECT_EQ(Strings(), read());
  const TemporaryFolder empty;
  EXPECT_EQ(Strings{empty.path() + ": has no index.html"}, page_.read(empty.path()));
  EXPECT_EQ(Strings{empty.file("x") + ": No such file or directory"}, page_.read(empty.file("x")));
  EXPECT_EQ("<p>first", get({}).body);
}

TEST_F(WebPageFiles, MayBeNone) {
  EXPECT_TRUE(page_.is_empty());
  EXPECT_EQ(404, get({}).status);
}

}  // namespace
}  // namespace Quarrow::WebServer
