// Writing and reading rules without files.
#include "administration/rules_text.h"

#include <fcntl.h>
#include <quarrow/evaluation.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <sstream>

#include "administration/script_folders.h"
#include "delivery/execution_form.h"
#include "message_filters/filter_list_xml.h"
#include "message_filters/sieve_script.h"
#include "system/memory_file.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::FilterList__;

bool begins_with(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

// Throws where memory is short: a stream only drops the rest of the text.
class MemoryText : public std::ostringstream {
 public:
  MemoryText() { exceptions(std::ios::badbit); }
};

class FolderWithoutName : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "memory is short for a folder's name"; }
};

// Keeps standard error quiet for its lifetime.
class SilencedErrors {
 public:
  SilencedErrors() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && null >= 0) dup2(null, STDERR_FILENO);
    if (null >= 0) close(null);
  }
  ~SilencedErrors() {
    if (kept_ < 0) return;
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  SilencedErrors(const SilencedErrors&) = delete;
  SilencedErrors& operator=(const SilencedErrors&) = delete;

 private:
  int kept_;
};

}  // namespace

std::string document_text(const boost::shared_ptr<FilterList__>& list) {
  MemoryText text;
  auto document = MessageFilters::filter_list_to_xml(list);
  return document && write_xml(std::move(document), text) ? text.str() : "";
}

std::string script_text(const boost::shared_ptr<FilterList__>& list, bool include_disabled) {
  MemoryText text;
  if (!write_script(list, include_disabled, text)) return "";
  if (!names_all_folders(text.str(), *list, include_disabled)) throw FolderWithoutName();
  return text.str();
}

boost::shared_ptr<FilterList__> list_of(const std::string& document) {
  if (document == document_text(FilterList__::Create())) return FilterList__::Create();
  const auto tree = MessageFilters::parse_xml(document);
  return tree ? MessageFilters::filter_list_from_xml(tree.get())
              : boost::shared_ptr<FilterList__>();
}

boost::shared_ptr<FilterList__> list_of_quietly(const std::string& document) {
  const SilencedErrors quiet;  // a failed assertion would write to it
  return list_of(document);
}

bool is_made_script(const std::string& script, const boost::shared_ptr<FilterList__>& list) {
  return begins_with(script_text(list, false), script) ||
         script == script_text(FilterList__::Create(), false) ||
         !Delivery::execution_form(script).branches.empty();
}

Refusal check_compiles(const std::string& script, const std::string& object) {
  const MemoryFile file;
  if (!file.write(script)) return {Kind::unavailable, object, "can't be checked: memory is short"};
  if (std::unique_ptr<SieveMatch>(SieveMatch::Create(file.path(), nullptr))) return {};
  return {Kind::rules_refused, object,
          "the Sieve compiler refused the rules as a whole; nothing was changed"};
}

}  // namespace Quarrow::Administration
