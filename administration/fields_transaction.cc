// Opening, editing and committing a user's fields.
#include "administration/fields_transaction.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "administration/locked_user.h"
#include "administration/near_names.h"
#include "administration/rule_check.h"
#include "administration/users.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"
#include "system/memory_file.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

const std::string draft_name = std::string(custom_fields_name) + ".new";

std::string quoted_short(const std::string& name) { return '"' + shortened(name) + '"'; }

// A test of the field, with a comparator and a value that go with its type.
Test test_of(const Field& field) {
  static const struct {
    const std::string& type;
    const std::string& comparator;
    const char* value;
  } rows[] = {{Field::STRING, Comparator::IS, "x"},
              {Field::ADDRESS, Comparator::IS, "x@example.org"},
              {Field::SIZE, Comparator::GREATER, "1"},
              {Field::DATE, Comparator::AFTER, "2026-01-01"}};
  Test test;
  test.field = field;
  for (const auto& row : rows)
    if (row.type == field.type) {
      test.comparator = row.comparator;
      test.value = row.value;
    }
  return test;
}

// Refuses a field that no test can name.
Refusal check_field(const Field& field) {
  if (!Field::is_valid_type(field.type))
    return {
        Kind::wrong_rule, "type",
        "unknown type " + quoted_short(field.type) + "; the types are string, address, size, date"};
  if (field.name.empty()) return {Kind::wrong_rule, "name", "a field needs a name"};
  Refusal refusal = check_test(test_of(field));
  refusal.reason = refusal.reason.substr(0, refusal.reason.find("; type "));  // a test to type
  return refusal;
}

}  // namespace

FieldsTransaction::FieldsTransaction(const EmailAddress& address, std::string catalogue,
                                     std::chrono::milliseconds patience)
    : address_(address),
      catalogue_(std::move(catalogue)),
      patience_(patience),
      folder_(user_folder(address)) {
  fields_.fields.clear();  // those of the machine's catalogue, which may be another one
}

Refusal FieldsTransaction::open() {
  if (access(catalogue_.c_str(), R_OK) != 0)
    return system_refusal(catalogue_, "the system's catalogue of fields", errno);
  if (!fields_.load(catalogue_, false))
    return {Kind::damaged_document, catalogue_, "damaged catalogue of fields"};
  if (const Refusal refusal = folder_.open([this] { return user_folder(address_); }))
    return refusal;
  if (!folder_.is_open()) return {};
  if (const Refusal refusal = lock_.take(folder_, patience_)) return refusal;
  return load_own();
}

Refusal FieldsTransaction::load_own() {
  std::string text;
  const std::string path = folder_.file(custom_fields_name);
  const int error = folder_.read(custom_fields_name, MessageFilters::most_xml_bytes + 1, text);
  if (error == ENOENT) return {};
  if (error != 0) return system_refusal(path, "", error);
  const MemoryFile file;  // the library reads a path, and would follow a link there
  if (!file.write(text)) return {Kind::unavailable, path, "can't be read: memory is short"};
  if (fields_.load(file.path(), true)) return {};
  return {Kind::damaged_document, path,
          "damaged catalogue of fields; restore it from a copy, or remove it to start anew"};
}

Refusal FieldsTransaction::add(const std::string& type, const std::string& name) {
  const Field field{type, name, true};
  if (const Refusal refusal = check_field(field)) return refusal;
  if (fields_.add_field(field)) return {};
  return {Kind::wrong_rule, address_.address(), "has a field " + quoted_short(name) + " already"};
}

Refusal FieldsTransaction::remove(const std::string& name) {
  if (fields_.remove_field(name)) return {};
  std::vector<std::string> own;
  for (const Field& field : fields())
    if (field.customized)
      own.push_back(field.name);
    else if (field.name == name)
      return {Kind::wrong_rule, address_.address(),
              quoted_short(name) + " is the system's field, which stays"};
  const std::string question = did_you_mean(name, own);
  return {Kind::wrong_rule, address_.address(),
          "no field " + quoted_short(name) + (question.empty() ? "" : "; " + question)};
}

Refusal FieldsTransaction::check_commit() const {
  if (!folder_.is_open()) return system_refusal(folder_.path(), "nothing was changed", ENOENT);
  if (lock_.may_change()) return check_unlocked(folder_);
  return {Kind::not_permitted, folder_.path(),
          "nothing was changed; the fields are changed by the owner of the folder, or by root"};
}

Refusal FieldsTransaction::commit() {
  if (const Refusal refusal = check_commit()) return refusal;
  const std::string path = folder_.file(custom_fields_name);
  const std::string step = "the fields could not be written; nothing was changed";
  const MemoryFile file;
  if (file.fd() < 0 || !fields_.persist(file.path())) return {Kind::not_written, path, step};
  int error = folder_.write_new(draft_name, file.read());
  if (error == 0) error = folder_.synchronise();
  if (error == 0) error = folder_.rename(draft_name, custom_fields_name);
  if (error != 0) {
    folder_.remove(draft_name);
    return system_refusal(path, step, error);
  }
  error = folder_.synchronise();
  return error == 0 ? Refusal()
                    : system_refusal(path, "changed, but perhaps not on the disk", error);
}

GuardedOutcome with_fields_of(const EmailAddress& address, const std::string& catalogue,
                              const std::function<GuardedOutcome(FieldsTransaction&)>& work,
                              std::chrono::milliseconds patience) {
  return run_guarded(
      in_folder(user_folder(address), custom_fields_name),
      [&]() -> GuardedOutcome {
        FieldsTransaction fields(address, catalogue, patience);
        if (const Refusal refusal = fields.open()) return {refusal, ""};
        return work(fields);
      });
}

}  // namespace Quarrow::Administration
