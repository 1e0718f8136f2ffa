// Options and arguments, declared by CLI11.
#include "apps/quarrow/option.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace Quarrow::Command {
namespace {

// "table, tab or json"
std::string listed(const std::vector<std::string>& words) {
  std::string text = words.front();
  for (std::size_t i = 1; i < words.size(); ++i)
    text += (i + 1 < words.size() ? ", " : " or ") + words[i];
  return text;
}

}  // namespace

const Option& Option::type_name(const std::string& name) const {
  option_->type_name(name);
  return *this;
}

const Option& Option::required() const {
  option_->required();
  return *this;
}

const Option& Option::check(const Check& fault) const {
  option_->check(fault);
  return *this;
}

const Option& Option::in_range(std::size_t least, std::size_t most) const {
  option_->check(CLI::Range(least, most).description(""));
  return *this;
}

const Option& Option::one_of(const std::vector<std::string>& words) const {
  return check([words](const std::string& value) {
    const bool known = std::find(words.begin(), words.end(), value) != words.end();
    return known ? "" : "is " + listed(words) + ", not " + value;
  });
}

const Option& Option::envname(const std::string& name) const {
  option_->envname(name);
  return *this;
}

const Option& Option::excludes(const Option& other) const {
  option_->excludes(other.option_);
  return *this;
}

const Option& Option::needs(const Option& other) const {
  option_->needs(other.option_);
  return *this;
}

const Option& Option::capture_default_str() const {
  option_->capture_default_str();
  return *this;
}

const Option& Option::default_str(const std::string& text) const {
  option_->default_str(text);
  return *this;
}

bool Option::is_given() const { return option_->count() > 0; }

std::string Option::name() const { return option_->get_name(); }

Option add_flag(CLI::App& app, const std::string& name, bool& value, const std::string& help) {
  return Option(app.add_flag(name, value, help));
}

Option add_flag(CLI::App& app, const std::string& name, const std::string& help) {
  return Option(app.add_flag(name, help));
}

Option add_option(CLI::App& app, const std::string& name, std::string& value,
                  const std::string& help) {
  return Option(app.add_option(name, value, help));
}

Option add_option(CLI::App& app, const std::string& name, std::optional<std::string>& value,
                  const std::string& help) {
  return Option(app.add_option(name, value, help));
}

Option add_option(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                  const std::string& help) {
  return Option(app.add_option(name, values, help));
}

Option add_option(CLI::App& app, const std::string& name, std::size_t& value,
                  const std::string& help) {
  return Option(app.add_option(name, value, help));
}

Option add_option(CLI::App& app, const std::string& name, std::optional<std::size_t>& value,
                  const std::string& help) {
  return Option(app.add_option(name, value, help));
}

Option add_option(CLI::App& app, const std::string& name, std::uint32_t& value,
                  const std::string& help) {
  return Option(app.add_option(name, value, help));
}

Option add_option(CLI::App& app, const std::string& name,
                  const std::function<void(const std::string& value)>& take,
                  const std::string& help) {
  return Option(app.add_option_function<std::string>(name, take, help));
}

// Not the parser's own lists: these take the words behind a value as well, and a value in brackets
// for a list.
Option add_repeated(CLI::App& app, const std::string& name,
                    const std::function<void(const std::string& value)>& take,
                    const std::string& help) {
  return Option(app.add_option_function<std::string>(name, take, help)->trigger_on_parse());
}

Option option_of(CLI::App& app, const std::string& name) { return Option(app.get_option(name)); }

void on_parsed(CLI::App& app, const std::function<void()>& work) { app.callback(work); }

void refuse_missing(const std::string& what) { throw CLI::RequiredError(what); }

void refuse_both(const std::string& one, const std::string& other) {
  throw CLI::ExcludesError(one, other);
}

}  // namespace Quarrow::Command
