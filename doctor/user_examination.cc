// Files, mail and rules, under the lock that keeps changes out.
#include "doctor/user_examination.h"

#include <algorithm>

#include "administration/folder_form.h"
#include "administration/rules_lock.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "doctor/file_examination.h"
#include "doctor/maildir_examination.h"
#include "doctor/repair.h"
#include "doctor/rules_examination.h"

namespace Quarrow::Doctor {
namespace {

using Administration::Refusal;
using Administration::UserFolder;

// A change of the rules takes milliseconds.
constexpr std::chrono::seconds patience{5};

Findings of_refusal(const char* code, const Refusal& refusal) {
  return {{Severity::error, code, refusal.object, refusal.reason,
           "look at what is there, as root or as the folder's owner"}};
}

Findings look(const EmailAddress& address, const Examination& examination, bool with_rules) {
  const auto find = [&address] { return Administration::user_folder(address); };
  UserFolder folder(find());
  const std::string second = Administration::second_folder(address);
  if (const Refusal refusal = folder.open(find)) return of_refusal(Code::unreachable, refusal);
  if (!folder.is_open()) return {};  // removed meanwhile
  if (const Refusal refusal = Administration::RulesLock::take_to_read(folder, patience))
    return of_refusal(Code::busy, refusal);
  Findings findings;
  if (!second.empty())
    findings.push_back({Severity::warning, Code::second_folder, second,
                        "is not in use: the user's folder is " + folder.path(),
                        "look into both; move what the user needs, and remove this one"});
  examine_files(folder, findings);
  const auto maildir_folders = examine_maildir(folder, examination.now, findings);
  if (with_rules) examine_rules(folder, maildir_folders, examination.dots, findings);
  return findings;
}

bool is_among(const Finding& finding, const Findings& findings) {
  return std::any_of(
      findings.begin(), findings.end(),
      [&finding](const Finding& other) {
        return other.code == finding.code && other.object == finding.object;
      });
}

}  // namespace

Findings examine_user(const EmailAddress& address, const Examination& examination) {
  Findings before = look(address, examination, true);
  if (!examination.repair) return before;
  if (examination.dry_run) {
    for (Finding& finding : before)
      if (can_be_mended(finding, before)) finding.advice = "--repair mends it";
    return before;
  }
  const std::string failure = repair(address, before);
  Findings now = look(address, examination, true);
  for (Finding& finding : now)
    if (can_be_mended(finding, before) && !failure.empty())
      finding.advice = "could not be mended: " + failure;
  for (Finding& finding : before) {
    if (is_among(finding, now)) continue;
    finding.severity = Severity::mended;
    finding.advice = "nothing; files that were replaced or removed are kept with the ending ";
    finding.advice += copy_ending;
    now.push_back(finding);
  }
  return now;
}

Findings examine_user_without_rules(const EmailAddress& address, const Examination& examination) {
  return look(address, examination, false);
}

}  // namespace Quarrow::Doctor
