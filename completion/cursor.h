// Where the cursor stands on a command line, as the option parser sees it.
#ifndef QUARROW_COMPLETION_CURSOR_H_
#define QUARROW_COMPLETION_CURSOR_H_

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Quarrow::Completion {

// What may be typed there: the name of a subcommand, of an option, a value, or nothing.
enum class Place { nothing, subcommand, option_name, value };

struct Cursor {
  Place place = Place::nothing;
  const CLI::App* command = nullptr;    // the innermost subcommand in front of it
  const CLI::Option* option = nullptr;  // the option, or the argument, that a value is for
  std::string typed;                    // the part of the word that is there, in front of it
  std::string prefix;                   // "--name=", where the value stands in the same word
};

// Finds the cursor on the line `words`, of which it stands behind the last one, by having `app`
// read them. The subcommands and options of `app` then tell what was given. `words` has one word at
// least, and not the program's name.
Cursor find_cursor(CLI::App& app, std::vector<std::string> words);

// The text that was given on the line for the option or argument `name`: to the subcommand of the
// cursor or, where it has none, to those around it. Empty without one, and for what is being typed.
std::string given(const Cursor& cursor, const std::string& name);

// Whether the option `name` stands on the line, likewise.
bool has(const Cursor& cursor, const std::string& name);

// The subcommand of the cursor with those around it, without the program: "filter add".
std::string command_words(const Cursor& cursor);

}  // namespace Quarrow::Completion

#endif  // QUARROW_COMPLETION_CURSOR_H_
