// From the words of a shell to candidates in its form.
#include "completion/answer.h"

#include <CLI/CLI.hpp>

#include "completion/typed_word.h"

namespace Quarrow::Completion {
namespace {

const char* name_of(Paths paths) {
  return paths == Paths::files ? "files" : paths == Paths::folders ? "folders" : "words";
}

// What is typed stays as it is, with its quotes; the rest of the candidate comes behind it.
std::string typed_on(const std::string& typed, const TypedWord& word,
                     const std::string& candidate) {
  const std::size_t kept = typed.size() - (word.ended ? 0 : 1);
  return typed.substr(0, kept) + typed_in(word.quote, candidate.substr(word.text.size()));
}

void write(const Offer& offer, bool for_bash, const std::string& typed, const TypedWord& word,
           std::ostream& out) {
  out << name_of(offer.paths) << '\n';
  for (const Candidate& candidate : offer.candidates)
    if (for_bash)
      out << typed_on(typed, word, candidate.text) << '\n';
    else
      out << candidate.text << '\t' << candidate.description << '\n';
}

}  // namespace

bool is_request(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3 || arguments[0] != "complete") return false;
  return arguments[1] == "bash" || arguments[1] == "zsh" || arguments[1] == "fish";
}

void answer(CLI::App& app, const std::vector<std::string>& request, const Values& values,
            std::ostream& out) {
  const std::string& shell = request[1];
  std::vector<std::string> words(request.begin() + 2, request.end());
  if (shell != "fish")
    for (std::string& word : words) word = read_typed(word).text;
  const Offer offer = offer_at(find_cursor(app, words), values);
  write(offer, shell == "bash", request.back(), read_typed(request.back()), out);
}

void answer_for_options(CLI::App& app, const std::vector<std::string>& request, std::ostream& out) {
  const std::string help = app.get_config_ptr()->get_description();
  (void)app.set_config();  // the file is not for reading now
  std::string file;
  app.add_option("--config", file, help)->type_name("FILE");
  const auto paths = [](const Cursor& cursor) -> Offer {
    const std::string type = cursor.option->get_type_name();
    if (type == "DIR") return {{}, Paths::folders};
    return {{}, type == "FILE" || type == "SOCKET" ? Paths::files : Paths::none};
  };
  answer(app, request, paths, out);
}

}  // namespace Quarrow::Completion
