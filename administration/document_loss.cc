// A document compared with the one that would take its place.
#include "administration/document_loss.h"

#include <algorithm>
#include <cstddef>

#include "administration/rules_text.h"
#include "message_filters/document_words.h"
#include "message_filters/xml_document.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::FilterList__;
using MessageFilters::xml_attribute;
using MessageFilters::xml_attributes;
using MessageFilters::xml_child;
using MessageFilters::xml_first_child;
using MessageFilters::xml_following;
using MessageFilters::xml_name;
using MessageFilters::xml_next;
using MessageFilters::xml_text;

// Enough to see what is wrong; and the search for a lost element takes its time.
constexpr std::size_t most_told = 10;

bool is_blank(const std::string& text) {
  return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool are_attributes_kept(const ezxml* element, ezxml* kept) {
  const auto attributes = xml_attributes(element);
  return std::all_of(attributes.begin(), attributes.end(), [kept](const auto& attribute) {
    const auto& [name, value] = attribute;
    return value.empty() || name == DocumentWords::id || xml_attribute(kept, name.c_str()) == value;
  });
}

bool is_empty(ezxml* element) {
  return !xml_first_child(element) && xml_text(element).empty() && xml_attributes(element).empty();
}

bool is_kept(ezxml* element, ezxml* kept);

bool is_kept_below(ezxml* child, ezxml* parent) {
  for (ezxml* each = xml_first_child(parent); each; each = xml_following(each))
    if (is_kept(child, each)) return true;
  return is_empty(child);
}

// Whether all that `element` holds is in `kept` as well.
bool is_kept(ezxml* element, ezxml* kept) {
  if (xml_name(element) != xml_name(kept) || !are_attributes_kept(element, kept)) return false;
  const std::string text = xml_text(element);
  if (text != xml_text(kept) && !(xml_first_child(element) && is_blank(text))) return false;
  for (ezxml* child = xml_first_child(element); child; child = xml_following(child))
    if (!is_kept_below(child, kept)) return false;
  return true;
}

class Loss {
 public:
  // Compares a filter with its counterpart.
  void compare(ezxml* filter, ezxml* kept) {
    where_ = " of filter " + xml_attribute(kept, DocumentWords::id).value_or("");
    if (!are_attributes_kept(filter, kept) || !is_blank(xml_text(filter))) add("a part");
    for (ezxml* part = xml_first_child(filter); part && !is_full(); part = xml_following(part)) {
      const std::string name = xml_name(part);
      ezxml* const same = xml_child(kept, name.c_str());
      if (same && part == xml_child(filter, name.c_str()))
        compare_rows(part, same);
      else if (!is_empty(part))
        add("a part");
    }
  }

  // An element of the document that has no counterpart.
  void add_element(const ezxml* element) {
    where_.clear();
    add(xml_name(element) == DocumentWords::filter ? "a filter" : "an element that is no filter");
  }

  bool is_full() const { return count_ >= most_told; }
  const std::string& told() const { return told_; }

 private:
  // Compares the tests or the actions. Those that are kept are in the same order.
  void compare_rows(ezxml* row, ezxml* kept_row) {
    if (!are_attributes_kept(row, kept_row) || !is_blank(xml_text(row))) add("a part");
    ezxml* next_kept = xml_first_child(kept_row);
    std::size_t number = 0;
    for (ezxml* each = xml_first_child(row); each && !is_full(); each = xml_following(each)) {
      ++number;
      ezxml* same = next_kept;
      while (same && !is_kept(each, same)) same = xml_following(same);
      if (same)
        next_kept = xml_following(same);
      else
        add(xml_name(row) == DocumentWords::tests ? "test " + std::to_string(number)
                                                  : "action " + std::to_string(number));
    }
  }

  void add(const std::string& what) { told_ += (count_++ == 0 ? "" : ", ") + what + where_; }

  std::string where_;
  std::string told_;
  std::size_t count_ = 0;
};

}  // namespace

std::string document_loss(const std::string& document,
                          const boost::shared_ptr<FilterList__>& list) {
  const auto tree = MessageFilters::parse_xml(document);
  const auto kept_tree = MessageFilters::parse_xml(document_text(list));
  if (!tree || !kept_tree) return "";
  Loss loss;
  ezxml* kept = xml_child(kept_tree.get(), DocumentWords::filter);
  for (ezxml* each = xml_first_child(tree.get()); each && !loss.is_full();
       each = xml_following(each)) {
    if (xml_name(each) != DocumentWords::filter || !kept) {
      loss.add_element(each);
      continue;
    }
    loss.compare(each, kept);
    kept = xml_next(kept);
  }
  return loss.told();
}

}  // namespace Quarrow::Administration
