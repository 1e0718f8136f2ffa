// The three forms of a list.
#include "apps/quarrow/listing.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Quarrow::Command {
namespace {

std::string printed(const Listing& listing, ListingForm form) {
  std::ostringstream out;
  listing.print(form, out);
  return out.str();
}

Listing filters() {
  Listing listing({"id", "name", "enabled", "folders"});
  listing.add({9,
               "Gr\xc3\xb6\xc3\x9f"
               "e",
               true, std::vector<std::string>{"Work", "Old"}});
  listing.add({10, "tab\there", false, nullptr});
  return listing;
}

TEST(Listing, IsATableForPeople) {
  EXPECT_EQ(
      "id  name       enabled  folders\n"
      " 9  Gr\xc3\xb6\xc3\x9f"
      "e      yes      Work, Old\n"
      "10  tab\\there  no\n",
      printed(filters(), ListingForm::table));
}

TEST(Listing, HasALineForEachRowWithTabs) {
  EXPECT_EQ(
      "9\tGr\xc3\xb6\xc3\x9f"
      "e\tyes\tWork, Old\n10\ttab\\there\tno\t\n",
      printed(filters(), ListingForm::tab));
}

TEST(Listing, IsJsonForPrograms) {
  EXPECT_EQ(
      "[{\"id\":9,\"name\":\"Gr\xc3\xb6\xc3\x9f"
      "e\",\"enabled\":true,\"folders\":[\"Work\",\"Old\"]},\n"
      " {\"id\":10,\"name\":\"tab\\there\",\"enabled\":false,\"folders\":null}]\n",
      printed(filters(), ListingForm::json));
}

// The rows one by one, the last of them with the end.
std::string printed_in_parts(ListingForm form) {
  Listing listing({"id", "name"});
  std::ostringstream out;
  listing.print_part(form, out);
  EXPECT_EQ("", out.str());
  for (const auto& [id, name] : {std::pair(1, "a"), std::pair(20, "longer"), std::pair(3, "c")}) {
    listing.add({id, name});
    if (id == 3) break;
    listing.print_part(form, out);
    EXPECT_TRUE(listing.is_empty());
  }
  listing.print(form, out);
  return out.str();
}

TEST(Listing, MayBePrintedInParts) {
  EXPECT_EQ("id  name\n 1  a\n20  longer\n 3  c\n", printed_in_parts(ListingForm::table));
  EXPECT_EQ("1\ta\n20\tlonger\n3\tc\n", printed_in_parts(ListingForm::tab));
  EXPECT_EQ(
      "[{\"id\":1,\"name\":\"a\"},\n {\"id\":20,\"name\":\"longer\"},\n "
      "{\"id\":3,\"name\":\"c\"}]\n",
      printed_in_parts(ListingForm::json));
}

TEST(Listing, EndsBehindItsLastPart) {
  for (const ListingForm form : {ListingForm::table, ListingForm::tab, ListingForm::json}) {
    Listing listing({"id"});
    std::ostringstream out;
    listing.add({1});
    listing.print_part(form, out);
    const std::string part = out.str();
    listing.print(form, out);
    EXPECT_EQ(part + (form == ListingForm::json ? "]\n" : ""), out.str());
  }
}

TEST(Listing, MayBeEmpty) {
  const Listing listing({"id", "name"});
  EXPECT_EQ("id  name\n", printed(listing, ListingForm::table));
  EXPECT_EQ("", printed(listing, ListingForm::tab));
  EXPECT_EQ("[]\n", printed(listing, ListingForm::json));
}

}  // namespace
}  // namespace Quarrow::Command
