// The page: bands of mail, from all messages to the rules, and from the rules to the folders.
#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <map>
#include <sstream>
#include <vector>

#include "apps/quarrow/statistics_output.h"
#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Trial::RuleFigures;
using Trial::Statistics;

// Pixels.
constexpr double picture_width = 900;
constexpr double box_width = 14;
constexpr double gap = 26;  // between boxes: room for a name
constexpr double most_height = 500;
constexpr double columns[] = {10, 380, 690};

const char style[] =
    "body{font:16px/1.5 system-ui,sans-serif;max-width:60rem;margin:2rem auto;padding:0 1rem;"
    "color:#222;background:#fff}svg{max-width:100%;height:auto}"
    "path{fill:none;stroke:#4a7fb0;stroke-opacity:.35}rect{fill:#2f5d88}"
    "text{font-size:13px;fill:#222}table{border-collapse:collapse}"
    "td,th{padding:.2rem .8rem;border-bottom:1px solid #ccc;text-align:left}"
    ".number{text-align:right}";

std::string escaped(const std::string& text) {
  std::string safe;
  for (const char c : printable(text)) switch (c) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      case '"':
        safe += "&quot;";
        break;
      default:
        safe += c;
    }
  return safe;
}

std::string folder_title(const std::string& mailbox) {
  return mailbox.empty() ? "Inbox" : MessageFilters::readable_mailbox_name(mailbox);
}

// A box of a column. Bands end at its left side and begin at its right side, from its top down.
struct Box {
  std::string title;
  double messages = 0;
  double x = 0;
  double y = 0;
  double filled_left = 0;
  double filled_right = 0;
};

class Picture {
 public:
  explicit Picture(const Statistics& statistics) {
    all_.title = "all mail";
    for (const RuleFigures& rule : statistics.rules) add_rule(rule);
    add_rest("no rule", statistics.undecided);
    add_rest("failed", statistics.failed);
    place();
  }

  std::string svg() {
    out_ << std::fixed << std::setprecision(1);
    out_ << "<svg viewBox=\"0 0 " << picture_width << ' ' << height_
         << "\" role=\"img\" aria-label=\"Mail flowing through the rules into folders\">\n";
    for (Box& rule : rules_) draw_band(all_, rule, rule.messages);
    for (const auto& [rule, folder, messages] : flows_)
      draw_band(rules_[rule], folders_.at(folder), messages);
    draw_box(all_);
    for (const Box& rule : rules_) draw_box(rule);
    for (const auto& [mailbox, folder] : folders_) draw_box(folder);
    out_ << "</svg>\n";
    return out_.str();
  }

 private:
  struct Flow {
    std::size_t rule;
    std::string folder;
    double messages;
  };

  void add_rule(const RuleFigures& rule) {
    if (rule.decides == 0) return;
    double placed = 0;
    for (const auto& [mailbox, messages] : rule.folders) {
      add_flow(mailbox, static_cast<double>(messages));
      placed += static_cast<double>(messages);
    }
    // a box is as high as what leaves it, which copies make more than what comes in
    add_box(rule.filter->name, std::max(placed, static_cast<double>(rule.decides)));
  }

  void add_rest(const std::string& title, std::uint64_t messages) {
    if (messages == 0) return;
    add_flow("", static_cast<double>(messages));
    add_box(title, static_cast<double>(messages));
  }

  void add_flow(const std::string& mailbox, double messages) {
    folders_[mailbox].title = folder_title(mailbox);
    folders_[mailbox].messages += messages;
    flows_.push_back({rules_.size(), mailbox, messages});
  }

  void add_box(const std::string& title, double messages) {
    rules_.emplace_back();
    rules_.back().title = title;
    rules_.back().messages = messages;
    all_.messages += messages;
  }

  void place() {
    scale_ = all_.messages > 0 ? most_height / all_.messages : 0;
    all_.x = columns[0];
    all_.y = gap;
    height_ = all_.y + all_.messages * scale_;
    double y = gap;
    for (Box& rule : rules_) place(rule, columns[1], y);
    y = gap;
    for (auto& [mailbox, folder] : folders_) place(folder, columns[2], y);
    height_ += gap;
  }

  void place(Box& box, double x, double& y) {
    box.x = x;
    box.y = y;
    y += box.messages * scale_ + gap;
    height_ = std::max(height_, y);
  }

  void draw_band(Box& from, Box& to, double messages) {
    const double width = messages * scale_;
    const double start = from.y + from.filled_right + width / 2;
    const double end = to.y + to.filled_left + width / 2;
    const double left = from.x + box_width;
    const double middle = (left + to.x) / 2;
    from.filled_right += width;
    to.filled_left += width;
    out_ << "<path stroke-width=\"" << std::max(width, 1.0) << "\" d=\"M" << left << ' ' << start
         << " C" << middle << ' ' << start << ' ' << middle << ' ' << end << ' ' << to.x << ' '
         << end << "\"/>\n";
  }

  void draw_box(const Box& box) {
    out_ << "<rect x=\"" << box.x << "\" y=\"" << box.y << "\" width=\"" << box_width
         << "\" height=\"" << std::max(box.messages * scale_, 1.0) << "\"/>\n"
         << "<text x=\"" << box.x << "\" y=\"" << box.y - 6 << "\">" << escaped(box.title) << ", "
         << static_cast<std::uint64_t>(box.messages) << "</text>\n";
  }

  Box all_;
  std::vector<Box> rules_;
  std::map<std::string, Box> folders_;  // by mailbox
  std::vector<Flow> flows_;
  double scale_ = 0;  // pixels a message
  double height_ = 0;
  std::ostringstream out_;
};

std::string takers_of(const Statistics& statistics, const RuleFigures& rule) {
  std::string text;
  for (const auto& [taker, messages] : rule.taken_by)
    text += (text.empty() ? "" : ", ") + statistics.rules[taker].filter->name + ": " +
            std::to_string(messages);
  return text;
}

std::string table_row(const Statistics& statistics, const RuleFigures& rule) {
  const std::string cell = "</td><td>";
  const std::string number = "</td><td class=\"number\">";
  return "<tr><td>" + escaped(rule.filter->name) + (rule.filter->enabled ? "" : " (disabled)") +
         number + std::to_string(rule.decides) + number + std::to_string(rule.matches) + cell +
         escaped(takers_of(statistics, rule)) + "</td></tr>\n";
}

}  // namespace

std::string statistics_page(const Statistics& statistics, const std::string& user) {
  std::string page =
      "<!doctype html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
      escaped("Rules of " + user) + "</title>\n<style>" + style + "</style>\n<h1>" +
      escaped("Rules of " + user) + "</h1>\n<p>" + std::to_string(statistics.messages) +
      " messages</p>\n";
  page += Picture(statistics).svg();
  page +=
      "<table>\n<tr><th>rule</th><th class=\"number\">decides</th><th class=\"number\">matches</th>"
      "<th>taken by earlier rules</th></tr>\n";
  for (const RuleFigures& rule : statistics.rules) page += table_row(statistics, rule);
  return page + "</table>\n</html>\n";
}

}  // namespace Quarrow::Command
