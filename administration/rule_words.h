// The words that rules are written with: each word of the rule model, and the phrases that people
// write for it.
#ifndef QUARROW_ADMINISTRATION_RULE_WORDS_H_
#define QUARROW_ADMINISTRATION_RULE_WORDS_H_

#include <quarrow/rule_model.h>

#include <string>
#include <vector>

#include "administration/word_reader.h"

namespace Quarrow::Administration {

// What a phrase stands for. Which members count is up to the list that it stands in.
struct Phrase {
  std::string words;      // separated by one blank; empty for no phrase
  std::string meaning;    // a word of the rule model, or the name of a field
  bool negative = false;  // the phrase turns the outcome around
};

// The types of fields, and the comparators that go with a type as the rule model has it.
const std::vector<std::string>& type_words();
std::vector<std::string> comparators_of(const std::string& type);

// The phrases for the comparators that go with `type`, among them the comparators themselves;
// for all comparators when that is no type.
std::vector<Phrase> comparator_phrases(const std::string& type);

// The phrases for the fields that every system offers, whose types are known.
const std::vector<Phrase>& field_phrases();

// The type of one of these fields.
std::string type_of_field(const std::string& name);

// The phrases for actions, among them the actions themselves.
const std::vector<Phrase>& action_phrases();

// The phrase that is nearest to `word`, the empty phrase when none is: see nearest_word.h.
Phrase nearest_phrase(const std::string& word, const std::vector<Phrase>& phrases);

// Takes the longest of the phrases that `reader` has next; the empty phrase when it has none.
Phrase take_phrase(WordReader& reader, const std::vector<Phrase>& phrases);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULE_WORDS_H_
