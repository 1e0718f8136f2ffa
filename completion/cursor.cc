// A mark in the place of the word that is being typed: the option that gets it is the one wanted.
#include "completion/cursor.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>

namespace Quarrow::Completion {
namespace {

const std::string mark = "\x1f";  // no argument is such a text

// Flags are no options with values, even behind "=".
bool has_mark(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return false;
  const auto& results = option.results();
  return std::find(results.begin(), results.end(), mark) != results.end();
}

// The line breaks off in the middle, so that nearly all of them are wrong.
void read(CLI::App& app, std::vector<std::string> words) {
  std::reverse(words.begin(), words.end());
  try {
    app.parse(std::move(words));
  } catch (const std::exception& expected) {
    (void)expected;
  }
}

const CLI::App& innermost(const CLI::App& app) {
  const auto subcommands = app.get_subcommands();
  return subcommands.empty() ? app : innermost(*subcommands.front());
}

const CLI::Option* marked_option(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options())
    if (has_mark(*option)) return option;
  return nullptr;
}

// Whether the mark is all that no option took. The end of options is no word.
bool is_alone(const CLI::App& app) {
  auto left = app.remaining(true);
  left.erase(std::remove(left.begin(), left.end(), "--"), left.end());
  return left == std::vector<std::string>{mark};
}

Place place_of(const CLI::App& app, const Cursor& cursor, bool options_ended) {
  const bool is_dashed = cursor.typed.rfind('-', 0) == 0 && cursor.prefix.empty();
  const bool is_argument = cursor.option == nullptr || cursor.option->get_positional();
  if (is_dashed && is_argument && !options_ended) return Place::option_name;
  if (cursor.option != nullptr) return Place::value;
  if (cursor.prefix.empty() && is_alone(app)) return Place::subcommand;
  return Place::nothing;
}

const CLI::Option* find_given(const Cursor& cursor, const std::string& name) {
  for (const CLI::App* app = cursor.command; app != nullptr; app = app->get_parent())
    if (const CLI::Option* const option = app->get_option_no_throw(name))
      if (option->count() > 0 && !has_mark(*option)) return option;
  return nullptr;
}

}  // namespace

Cursor find_cursor(CLI::App& app, std::vector<std::string> words) {
  Cursor cursor;
  const bool options_ended = std::find(words.begin(), words.end() - 1, "--") != words.end() - 1;
  std::string& last = words.back();
  const std::size_t equals = last.find('=');
  if (!options_ended && last.rfind("--", 0) == 0 && equals != std::string::npos)
    cursor.prefix = last.substr(0, equals + 1);
  cursor.typed = last.substr(cursor.prefix.size());
  last = cursor.prefix + mark;
  read(app, words);
  cursor.command = &innermost(app);
  cursor.option = marked_option(*cursor.command);
  cursor.place = place_of(app, cursor, options_ended);
  return cursor;
}

std::string given(const Cursor& cursor, const std::string& name) {
  const CLI::Option* const option = find_given(cursor, name);
  return option == nullptr ? "" : option->results().back();
}

bool has(const Cursor& cursor, const std::string& name) {
  return find_given(cursor, name) != nullptr;
}

std::string command_words(const Cursor& cursor) {
  std::string words;
  for (const CLI::App* app = cursor.command; app->get_parent() != nullptr; app = app->get_parent())
    words = app->get_name() + (words.empty() ? "" : ' ' + words);
  return words;
}

}  // namespace Quarrow::Completion
