// Tables of words. docs/man/quarrow-rules.5 has the same for people.
#include "administration/rule_words.h"

#include "administration/nearest_word.h"
#include "administration/rule_fields.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

// How a phrase is negated, and whether "is" may stand in front.
enum class Grammar { verb, adjective };

const struct {
  const char* words;
  const std::string& comparator;
  Grammar grammar;
} comparator_table[] = {{"is", Comparator::IS, Grammar::verb},
                        {"equals", Comparator::IS, Grammar::verb},
                        {"equal", Comparator::IS, Grammar::verb},
                        {"contains", Comparator::CONTAINS, Grammar::verb},
                        {"contain", Comparator::CONTAINS, Grammar::verb},
                        {"begin_with", Comparator::BEGINWITH, Grammar::verb},
                        {"begins with", Comparator::BEGINWITH, Grammar::verb},
                        {"begin with", Comparator::BEGINWITH, Grammar::verb},
                        {"starts with", Comparator::BEGINWITH, Grammar::verb},
                        {"start with", Comparator::BEGINWITH, Grammar::verb},
                        {"end_with", Comparator::ENDWITH, Grammar::verb},
                        {"ends with", Comparator::ENDWITH, Grammar::verb},
                        {"end with", Comparator::ENDWITH, Grammar::verb},
                        {"before", Comparator::BEFORE, Grammar::adjective},
                        {"after", Comparator::AFTER, Grammar::adjective},
                        {"greater", Comparator::GREATER, Grammar::adjective},
                        {"greater than", Comparator::GREATER, Grammar::adjective},
                        {"larger", Comparator::GREATER, Grammar::adjective},
                        {"larger than", Comparator::GREATER, Grammar::adjective},
                        {"bigger than", Comparator::GREATER, Grammar::adjective},
                        {"more than", Comparator::GREATER, Grammar::adjective},
                        {"over", Comparator::GREATER, Grammar::adjective},
                        {"above", Comparator::GREATER, Grammar::adjective},
                        {"less", Comparator::LESS, Grammar::adjective},
                        {"less than", Comparator::LESS, Grammar::adjective},
                        {"smaller", Comparator::LESS, Grammar::adjective},
                        {"smaller than", Comparator::LESS, Grammar::adjective},
                        {"under", Comparator::LESS, Grammar::adjective},
                        {"below", Comparator::LESS, Grammar::adjective}};

const struct {
  const char* words;
  Grammar grammar;
  bool negative;
} fronts[] = {{"", Grammar::verb, false},           {"not ", Grammar::verb, true},
              {"does not ", Grammar::verb, true},   {"", Grammar::adjective, false},
              {"not ", Grammar::adjective, true},   {"is ", Grammar::adjective, false},
              {"is not ", Grammar::adjective, true}};

void add_with_fronts(const std::string& words, const std::string& meaning, Grammar grammar,
                     std::vector<Phrase>& phrases) {
  for (const auto& front : fronts)
    if (front.grammar == grammar) phrases.push_back({front.words + words, meaning, front.negative});
}

bool goes_with(const std::string& comparator, const std::string& type) {
  Test test;
  test.field.type = type;
  test.field.name = test.value = "x";
  test.comparator = comparator;
  return test.is_valid();
}

std::vector<Phrase> all_field_phrases() {
  std::vector<Phrase> phrases = {
      {"reply to", "reply-to"}, {"list id", "list-id"}, {"message size", Field::SIZE}};
  for (const auto& field : system_fields())
    for (const auto& words : {field.name, field_words(field.name)})
      phrases.push_back({words, field.name});
  return phrases;
}

}  // namespace

const std::vector<std::string>& type_words() {
  static const std::vector<std::string> words = {Field::STRING, Field::ADDRESS, Field::SIZE,
                                                 Field::DATE};
  return words;
}

std::vector<std::string> comparators_of(const std::string& type) {
  std::vector<std::string> allowed;
  for (const auto& word :
       {Comparator::IS, Comparator::CONTAINS, Comparator::BEGINWITH, Comparator::ENDWITH,
        Comparator::BEFORE, Comparator::AFTER, Comparator::GREATER, Comparator::LESS})
    if (goes_with(word, type)) allowed.push_back(word);
  return allowed;
}

std::vector<Phrase> comparator_phrases(const std::string& type) {
  const bool is_any = !Field::is_valid_type(type);
  std::vector<Phrase> phrases;
  for (const auto& row : comparator_table)
    if (is_any || goes_with(row.comparator, type))
      add_with_fronts(row.words, row.comparator, row.grammar, phrases);
  if (is_any || goes_with(Comparator::IS, type))
    phrases.push_back({"is not", Comparator::IS, true});
  if (is_any || type == Field::DATE)
    add_with_fronts("on", Comparator::IS, Grammar::adjective, phrases);
  return phrases;
}

const std::vector<Phrase>& field_phrases() {
  static const std::vector<Phrase> phrases = all_field_phrases();
  return phrases;
}

std::string type_of_field(const std::string& name) {
  for (const auto& field : system_fields())
    if (field.name == name) return field.type;
  return "";
}

const std::vector<Phrase>& action_phrases() {
  static const std::vector<Phrase> phrases = {
      {"move", Action::MOVE},      {"move to", Action::MOVE}, {"move into", Action::MOVE},
      {"file to", Action::MOVE},   {"file in", Action::MOVE}, {"file into", Action::MOVE},
      {"fileinto", Action::MOVE},  {"copy", Action::COPY},    {"copy to", Action::COPY},
      {"copy into", Action::COPY}, {"delete", Action::DELETE}};
  return phrases;
}

Phrase nearest_phrase(const std::string& word, const std::vector<Phrase>& phrases) {
  std::vector<std::string> words;
  for (const auto& phrase : phrases) words.push_back(phrase.words);
  const std::string nearest = nearest_word(word, words);
  for (const auto& phrase : phrases)
    if (phrase.words == nearest) return phrase;
  return {};
}

Phrase take_phrase(WordReader& reader, const std::vector<Phrase>& phrases) {
  Phrase longest;
  for (const auto& phrase : phrases) {
    WordReader trial = reader;
    if (phrase.words.size() > longest.words.size() && trial.take(phrase.words)) longest = phrase;
  }
  if (!longest.words.empty()) (void)reader.take(longest.words);  // found just now
  return longest;
}

}  // namespace Quarrow::Administration
