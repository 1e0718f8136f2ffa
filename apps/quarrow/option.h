// The options and arguments of a subcommand. The option parser's header makes most of its code anew
// in each file that includes it: the subcommands declare by these functions alone.
#ifndef QUARROW_APPS_QUARROW_OPTION_H_
#define QUARROW_APPS_QUARROW_OPTION_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Quarrow::Command {

// An option or argument that was declared. Each function that says more of it gives it back.
class Option {
 public:
  // Says why a value is not taken; "" when it is.
  using Check = std::function<std::string(const std::string& value)>;

  explicit Option(CLI::Option* option) : option_(option) {}

  // What the help calls its value.
  const Option& type_name(const std::string& name) const;
  const Option& required() const;
  const Option& check(const Check& fault) const;
  const Option& in_range(std::size_t least, std::size_t most) const;
  const Option& one_of(const std::vector<std::string>& words) const;
  // The variable of the environment that stands in for it.
  const Option& envname(const std::string& name) const;
  const Option& excludes(const Option& other) const;
  const Option& needs(const Option& other) const;

  // What the help gives as its default: the value that the variable has now, or `text`.
  const Option& capture_default_str() const;
  const Option& default_str(const std::string& text) const;

  // Of the command line that was read.
  bool is_given() const;

  std::string name() const;

 private:
  CLI::Option* option_;
};

// Each adds an option, or the argument for a `name` without dashes, whose value goes to `value`.
// Names are as CLI11 takes them: "-A,--all". `value` outlives the parsing.
Option add_flag(CLI::App& app, const std::string& name, bool& value, const std::string& help);
Option add_flag(CLI::App& app, const std::string& name, const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::string& value,
                  const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::optional<std::string>& value,
                  const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                  const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::size_t& value,
                  const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::optional<std::size_t>& value,
                  const std::string& help);
Option add_option(CLI::App& app, const std::string& name, std::uint32_t& value,
                  const std::string& help);

// Adds an option whose value `take` reads; and one that may be given again, with a value each time.
Option add_option(CLI::App& app, const std::string& name,
                  const std::function<void(const std::string& value)>& take,
                  const std::string& help);
Option add_repeated(CLI::App& app, const std::string& name,
                    const std::function<void(const std::string& value)>& take,
                    const std::string& help);

// Adds an option whose value is one of words, each with what it means.
template <typename Meaning>
Option add_choice(CLI::App& app, const std::string& name, Meaning& value,
                  const std::vector<std::pair<std::string, Meaning>>& words,
                  const std::string& help) {
  std::vector<std::string> known;
  std::string type;
  for (const auto& word : words) {
    known.push_back(word.first);
    type += (type.empty() ? "" : "|") + word.first;
  }
  const std::function<void(const std::string&)> take = [&value, words](const std::string& text) {
    for (const auto& [word, meaning] : words)
      if (word == text) value = meaning;
  };
  return add_option(app, name, take, help).one_of(known).type_name(type);
}

// The option that was added with this name.
Option option_of(CLI::App& app, const std::string& name);

// Has `work` look at the options together when all of them were read.
void on_parsed(CLI::App& app, const std::function<void()>& work);

// What such work says when something is missing, or when two things can't stand together. Ends the
// parsing.
[[noreturn]] void refuse_missing(const std::string& what);
[[noreturn]] void refuse_both(const std::string& one, const std::string& other);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_OPTION_H_
