// Document and script each on its own, then one beside the other, then rule by rule.
#include "doctor/rules_examination.h"

#include <quarrow/filter_list.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "administration/document_loss.h"
#include "administration/rule_analysis.h"
#include "administration/rule_check.h"
#include "administration/rule_fields.h"
#include "administration/rules_text.h"
#include "administration/test_logic.h"
#include "delivery/folder_name.h"
#include "message_filters/mailbox_name.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_document.h"
#include "message_filters/xml_text.h"
#include "system/printable.h"

namespace Quarrow::Doctor {
namespace {

using Administration::Refusal;
using Administration::RuleRemark;
using Administration::UserFolder;
using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;
using List = boost::shared_ptr<FilterList__>;

constexpr char restore[] = "restore it from a copy, or remove it to start anew";
constexpr char make_anew[] = "use --repair, or change the rules once more";
constexpr char trash[] = "Trash";

class RulesExamination {
 public:
  RulesExamination(const UserFolder& folder, const std::set<std::string>& maildir_folders,
                   Delivery::FolderDots dots, Findings& findings)
      : folder_(folder), maildir_folders_(maildir_folders), dots_(dots), findings_(findings) {}

  void examine() {
    const std::string name = rules_document_of(script_name);
    const auto document = read(name, MessageFilters::most_xml_bytes);
    script_ = read(script_name, script_limit);
    examine_fields();
    if (document)
      examine_document(folder_.file(name), *document);
    else if (script_ && !folder_.holds(name))
      examine_lone_script();
    if (script_) examine_script(folder_.file(script_name));
  }

 private:
  void add(Severity severity, const char* code, const std::string& object,
           const std::string& reason, const std::string& advice) {
    findings_.push_back({severity, code, object, reason, advice});
  }

  // At most `limit` bytes and one more. Nothing when there is no regular file, which is told
  // elsewhere.
  std::optional<std::string> read(const std::string& name, std::size_t limit) {
    std::string text;
    const int error = folder_.read(name, limit + 1, text);
    if (error == EACCES || error == EPERM || error == EIO)
      add(Severity::error, Code::unreadable, folder_.file(name), std::strerror(error),
          "see to it that the owner of the folder can read it");
    if (error != 0) return std::nullopt;
    return text;
  }

  // The user's own catalogue of fields.
  void examine_fields() {
    const auto text = read(custom_fields_name, MessageFilters::most_xml_bytes);
    if (text && !MessageFilters::parse_xml(*text))
      add(Severity::error, Code::damaged_fields, folder_.file(custom_fields_name),
          "no fields can be read from it", restore);
  }

  // The script holds rules of ours, and nothing else does.
  void examine_lone_script() {
    const List none = FilterList__::Create();
    if (*script_ == Administration::script_text(none, false)) return;
    hand_written_ = !Administration::is_made_script(*script_, none);
    if (!hand_written_)
      add(Severity::error, Code::lost_document, folder_.file(script_name),
          "was made from filters, whose document is gone",
          "restore the document from a copy, or remove the script");
  }

  void examine_document(const std::string& path, const std::string& text) {
    const List list =
        text.size() > MessageFilters::most_xml_bytes ? List() : Administration::list_of(text);
    if (!list)
      return add(Severity::error, Code::damaged_document, path, "no filter can be read from it",
                 restore);
    const std::string loss = text == Administration::document_text(list)
                                 ? ""
                                 : Administration::document_loss(text, list);
    if (!loss.empty())
      add(Severity::error, Code::unreadable_part, path, "loading it leaves out " + loss,
          "restore it from a copy, or change the filters with --accept-loss");
    compare_script(list);
    examine_rules(*list);
  }

  void compare_script(const List& list) {
    const std::string wanted = Administration::script_text(list, false);
    const std::string path = folder_.file(script_name);
    hand_written_ = script_ && !Administration::is_made_script(*script_, list);
    if (!folder_.holds(script_name))
      add(Severity::error, Code::no_script, path, "missing, so that no rule runs", make_anew);
    else if (script_ && *script_ != wanted && !hand_written_)
      add(Severity::error, Code::other_script, path, "holds other rules than the document",
          make_anew);
    const std::string whole = Administration::script_text(list, true);
    if (whole != wanted && whole.size() > script_limit)
      add(Severity::warning, Code::long_script, path,
          "with the disabled filters, a script of " + std::to_string(whole.size()) +
              " bytes, more than the " + std::to_string(script_limit) + " that are read",
          "remove some filters");
  }

  void examine_script(const std::string& path) {
    if (hand_written_)
      add(Severity::info, Code::hand_written, path, "was not made from filters",
          "nothing; changes of the rules are refused without --replace-script");
    if (script_->size() > script_limit)
      return add(Severity::error, Code::long_script, path,
                 "more than the " + std::to_string(script_limit) + " bytes that are read",
                 "shorten it, or remove some filters");
    if (script_->empty() || Administration::check_compiles(*script_, path))
      add(Severity::error, Code::refused_script, path,
          script_->empty() ? "empty, so that no rule runs"
                           : "the interpreter does not take it, so that no rule runs",
          hand_written_ ? "correct it" : make_anew);
  }

  void examine_rules(const FilterList__& list) {
    for (const auto& filter : list.filters) examine_filter(*filter);
    for (const RuleRemark& remark : Administration::rule_remarks(list)) add_remark(remark);
    if (!new_folders_.empty())
      add(Severity::info, Code::new_folder, folder_.file(maildir_name),
          "has no folder yet for " + new_folders_, "nothing; the first message makes it");
  }

  void add_remark(const RuleRemark& remark) {
    static const char* const codes[] = {Code::contradiction, Code::takes_all, Code::shadowed,
                                        Code::whole_addresses};
    add(Severity::warning, codes[static_cast<int>(remark.kind)],
        "filter " + std::to_string(remark.filter), remark.reason, remark.advice);
  }

  void examine_filter(const Filter__& filter) {
    const std::string object = "filter " + std::to_string(filter.id);
    if (filter.tests.empty())
      add(Severity::warning, Code::no_tests, object, "never runs: it has no tests",
          "remove it, or add it anew with a test");
    if (const Refusal refusal = Administration::check_name(filter.name))
      add(Severity::error, Code::odd_rule, object, refusal.reason, "remove it, and add it anew");
    for (const Test& test : filter.tests) examine_test(test, object);
    for (const Action& action : filter.actions) examine_action(action, object);
  }

  void examine_test(const Test& test, const std::string& object) {
    const Refusal refusal = Administration::check_sense(test);
    if (!refusal) return;
    const bool is_poison =
        test.field.type == Field::ADDRESS && !Administration::holds_addresses(test.field.name);
    add(is_poison ? Severity::error : Severity::warning,
        is_poison ? Code::poisoning_test : Code::odd_rule, object,
        refusal.reason + (is_poison ? "; a message can end the evaluation there" : ""),
        "remove the filter, and add it anew");
  }

  void examine_action(const Action& action, const std::string& object) {
    Action known = action;
    if (action.method == Action::DELETE) known.target.clear();
    if (const Refusal refusal = Administration::check_action(known, dots_))
      return add(Severity::error, Code::impossible_folder, object,
                 refusal.reason + "; its mail goes to the inbox",
                 "remove the filter, and add it anew");
    const std::string name = action.method == Action::DELETE ? trash : action.target;
    const auto folder = Delivery::maildir_folder(MessageFilters::imap_mailbox_name(name), dots_);
    const bool is_new = folder && !folder->empty() && maildir_folders_.count(*folder) == 0;
    if (is_new && told_folders_.insert(*folder).second)
      new_folders_ += (new_folders_.empty() ? "" : ", ") + shortened(name);
  }

  const UserFolder& folder_;
  const std::set<std::string>& maildir_folders_;
  const Delivery::FolderDots dots_;
  Findings& findings_;
  std::optional<std::string> script_;
  bool hand_written_ = false;
  std::set<std::string> told_folders_;
  std::string new_folders_;
};

}  // namespace

void examine_rules(const UserFolder& folder, const std::set<std::string>& maildir_folders,
                   Delivery::FolderDots dots, Findings& findings) {
  RulesExamination(folder, maildir_folders, dots, findings).examine();
}

}  // namespace Quarrow::Doctor
