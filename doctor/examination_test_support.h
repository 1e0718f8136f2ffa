// Users with rules on the disk, to be looked at.
#ifndef QUARROW_DOCTOR_EXAMINATION_TEST_SUPPORT_H_
#define QUARROW_DOCTOR_EXAMINATION_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "administration/rules_text.h"
#include "administration/users.h"
#include "doctor/finding.h"
#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Doctor {

inline const EmailAddress alice("alice@example.org");

// A file that only its owner reads and writes.
inline void write_private(const std::string& path, const std::string& text) {
  write_file(path, text);
  ASSERT_EQ(0, chmod(path.c_str(), 0600));
}

// Rules about which there is nothing to say.
inline boost::shared_ptr<MessageFilters::FilterList__> sound_rules() {
  const auto list = MessageFilters::FilterList__::Create();
  const auto rule = MessageFilters::make_rule("a", MessageFilters::subject_test());
  rule->actions = {MessageFilters::make_action("move", "INBOX")};
  EXPECT_TRUE(list->append(rule));
  return list;
}

// Makes a user with sound rules, whose script is there or missing; gives the user's folder.
inline std::string add_user(const EmailAddress& address, bool with_script = true) {
  const std::string folder = Administration::user_folder(address);
  std::filesystem::create_directories(folder);
  std::filesystem::permissions(folder, std::filesystem::perms(0700));
  const auto list = sound_rules();
  write_private(folder + "/.delivery_filter.xml", Administration::document_text(list));
  if (with_script)
    write_private(folder + "/.delivery_filter", Administration::script_text(list, false));
  return folder;
}

// "warning leftover .delivery_filter.new, " and so on; paths are those in `folder`.
inline std::string told(const Findings& findings, const std::string& folder) {
  std::string text;
  for (const Finding& finding : findings) {
    const bool is_inside = finding.object.rfind(folder + '/', 0) == 0;
    const std::string object = is_inside                  ? finding.object.substr(folder.size() + 1)
                               : finding.object == folder ? "."
                                                          : finding.object;
    text += std::string(word_of(finding.severity)) + ' ' + finding.code + ' ' + object + ", ";
  }
  return text;
}

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_EXAMINATION_TEST_SUPPORT_H_
