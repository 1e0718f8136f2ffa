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
               true,
               {"Work", "Old"}});
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

TEST(Listing, MayBeEmpty) {
  const Listing listing({"id", "name"});
  EXPECT_EQ("id  name\n", printed(listing, ListingForm::table));
  EXPECT_EQ("", printed(listing, ListingForm::tab));
  EXPECT_EQ("[]\n", printed(listing, ListingForm::json));
}

}  // namespace
}  // namespace Quarrow::Command
