// What a program tells the script of a shell that completes its command lines.
#ifndef QUARROW_COMPLETION_ANSWER_H_
#define QUARROW_COMPLETION_ANSWER_H_

#include <ostream>
#include <string>
#include <vector>

#include "completion/offer.h"

namespace Quarrow::Completion {

// Whether the arguments of a program are the request of a shell's script: "complete", which is in
// no help, the name of the shell, and the words of the line behind the program's name. The cursor
// stands behind the last of them, which may be empty. The shells differ in the form of words:
//
//   bash   as they are typed, with quotes; so are the candidates
//   zsh    as they are typed; candidates as they are meant
//   fish   as they are meant, and so are the candidates, of which the shell chooses those that fit:
//          the last word may be shorter than what is typed
bool is_request(const std::vector<std::string>& arguments);

// Answers that request. The first line is "words", "files" or "folders": the paths that are wanted
// beside the candidates. Then each line has a candidate and, but for bash, a tab and a description.
void answer(CLI::App& app, const std::vector<std::string>& request, const Values& values,
            std::ostream& out);

// The same for a program whose options alone tell what they take: a type "DIR" is a folder, "FILE"
// and "SOCKET" are files. Its option --config names the file with more options, which is not read.
void answer_for_options(CLI::App& app, const std::vector<std::string>& request, std::ostream& out);

}  // namespace Quarrow::Completion

#endif  // QUARROW_COMPLETION_ANSWER_H_
