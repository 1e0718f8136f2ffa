// Users' addresses as clients give them, and the folders that they lead to: a line each.
#include <quarrow/user_stores.h>
#include <zvelluser.h>

#include <filesystem>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "lmtp/mail_path.h"
#include "message_filters/user_filter_path.h"

namespace Quarrow::Fuzz {
namespace {

namespace fs = std::filesystem;

const std::string root = "/nowhere";

// A file of a user lies two folders below the root or, with a long name, deeper.
void expect_inside(const std::string& path) {
  const fs::path normal = fs::path(path).lexically_normal();
  const fs::path relative = normal.lexically_relative(root);
  expect(!relative.empty() && relative.begin()->string() != "..", "a user's file is in the root");
  expect(std::distance(relative.begin(), relative.end()) >= 3, "in a folder of the user's own");
  expect(normal == fs::path(path), "and its path has no detours");
  for (const fs::path& name : relative) expect(name.string().size() <= 255, "of names of files");
}

// Hashed folders lie below "%", beside those of the domain's users.
void try_folders(const std::string& line) {
  const ZvMailUserId user(MAILBOX_USER, line);
  const std::string flat = user.plain_prefpath();
  if (flat.empty()) return;
  for (const std::string& folder : {flat, user.prefpath(), user.hashed_prefpath()})
    expect_inside(folder + "/file");
  expect(flat.find("/%/") == std::string::npos, "no user's folder is taken for hashed ones");
  expect(user.hashed_prefpath().find("/%/") != std::string::npos, "and these are marked");
}

void try_address(const std::string& line) {
  try_folders(line);
  const EmailAddress address(line);
  if (address.isNull()) return;
  expect_equal(line, address.address(), "an address stays as it is");
  for (const int file : {MessageFilters::FILTER_XML, MessageFilters::FILTER_SIEVE,
                         MessageFilters::CUSTOM_FIELDS_XML})
    expect_inside(MessageFilters::user_filter_path(address, file));
}

void try_path(const std::string& line) {
  const auto path = Lmtp::parse_mail_path(line, "TO:");
  if (!path || path->mailbox.empty()) return;
  const auto again = Lmtp::parse_mail_path("TO:<" + path->mailbox + ">", "TO:");
  expect(again.has_value(), "a mailbox can be read again");
  expect_equal(path->mailbox, again->mailbox, "and is the same");
  try_address(path->mailbox);
}

void try_lines(const std::string& input) {
  mailuser_set_root(root);
  for (const std::string& line : lines_of(input)) {
    if (line.find('\0') != std::string::npos) continue;  // refused before
    try_address(line);
    try_path(line);
  }
}

const Target target("user_addresses", try_lines);

}  // namespace
}  // namespace Quarrow::Fuzz
