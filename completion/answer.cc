// From the words of a shell to candidates in its form.
#include "completion/answer.h"

#include <CLI/CLI.hpp>

#include "completion/typed_word.h"

namespace Quarrow::Completion {
namespace {

enum class Shell { bash, zsh, fish };

const char* name_of(Paths paths) {
  return paths == Paths::files ? "files" : paths == Paths::folders ? "folders" : "words";
}

// What is typed stays as it is, with its quotes; the rest of the candidate comes behind it.
std::string typed_on(const std::string& typed, const TypedWord& word,
                     const std::string& candidate) {
  const std::size_t kept = typed.size() - (word.ended ? 0 : 1);
  return typed.substr(0, kept) + typed_in(word.quote, candidate.substr(word.text.size()));
}

void write(const Offer& offer, Shell shell, const std::string& typed, const TypedWord& word,
           std::ostream& out) {
  out << name_of(offer.paths) << '\n';
  for (const Candidate& candidate : offer.candidates)
    if (shell == Shell::bash)
      out << typed_on(typed, word, candidate.text) << '\n';
    else
      out << candidate.text << '\t' << candidate.description << '\n';
}

}  // namespace

void answer(CLI::App& app, const std::vector<std::string>& arguments, const Values& values,
            std::ostream& out) {
  if (arguments.size() < 2) return;
  const std::string& name = arguments.front();
  if (name != "bash" && name != "zsh" && name != "fish") return;
  const Shell shell = name == "bash" ? Shell::bash : name == "zsh" ? Shell::zsh : Shell::fish;
  std::vector<std::string> words(arguments.begin() + 1, arguments.end());
  if (shell != Shell::fish)
    for (std::string& word : words) word = read_typed(word).text;
  const Cursor cursor = find_cursor(app, words);
  write(offer_at(cursor, values), shell, arguments.back(), read_typed(arguments.back()), out);
}

}  // namespace Quarrow::Completion
