// What a program tells the script of a shell that completes its command lines.
#ifndef QUARROW_COMPLETION_ANSWER_H_
#define QUARROW_COMPLETION_ANSWER_H_

#include <ostream>
#include <string>
#include <vector>

#include "completion/offer.h"

namespace Quarrow::Completion {

// The first argument of a program that is asked so. It is in no help.
constexpr char request[] = "complete";

// Answers for `arguments`: a shell, and the words of the line behind the program's name, of which
// the cursor stands behind the last one, that may be empty. The shells differ in the words' form:
//
//   bash   as they are typed, with quotes; so are the candidates
//   zsh    as they are typed; candidates as they are meant
//   fish   as they are meant, and so are the candidates, of which the shell chooses those that fit
//
// The first line of the answer is "words", "files" or "folders": the paths that are wanted there
// beside the candidates. Then each line has a candidate and, but for bash, a tab and a description.
// There is no answer for another shell, or without a word.
void answer(CLI::App& app, const std::vector<std::string>& arguments, const Values& values,
            std::ostream& out);

}  // namespace Quarrow::Completion

#endif  // QUARROW_COMPLETION_ANSWER_H_
