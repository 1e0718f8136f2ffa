// quarrow doctor: what is wrong with users' rules, before they notice.
#include <sysexits.h>
#include <zvelluser.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "administration/root_setup.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/listing.h"
#include "doctor/examination_run.h"
#include "system/processors.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Doctor::Finding;
using Doctor::Severity;

// Somebody has to do something.
constexpr int there_are_findings = 1;

constexpr int most_jobs = 256;

// A table's columns are as wide as so many rows need.
constexpr std::size_t rows_of_a_part = 1000;

const std::vector<std::pair<std::string, Severity>> severities = {
    {"info", Severity::info}, {"warning", Severity::warning}, {"error", Severity::error}};

struct DoctorOptions {
  std::vector<std::string> users;
  bool all = false;
  Doctor::Examination examination;
  Severity least = Severity::info;
  std::size_t jobs = 0;  // 0: as many as there are processors
  ListingForm form = ListingForm::table;
};

// The users to be examined; those that there aren't are complained of, and `status` says so.
std::vector<EmailAddress> named_users(const Settings& settings,
                                      const std::vector<std::string>& names, int& status) {
  std::vector<EmailAddress> users;
  for (const std::string& name : names) {
    EmailAddress user;
    if (const Refusal refusal = find_user(settings, name, user))
      status = complain(settings, refusal);
    else
      users.push_back(user);
  }
  return users;
}

std::vector<EmailAddress> all_users(const Settings& settings, int& status) {
  mailuser_set_root(settings.root);
  std::vector<std::string> names;
  Refusal refusal = Administration::open_configuration(settings.root);
  if (!refusal) refusal = Administration::list_users(settings.root, names);
  if (refusal) status = complain(settings, refusal);
  return {names.begin(), names.end()};
}

// Being unable to look says more than any finding.
int status_after(const Finding& finding, int status) {
  if (status != EX_OK && status != there_are_findings) return status;
  if (finding.code == Doctor::Code::unreachable) return EX_NOPERM;
  if (finding.code == Doctor::Code::busy) return EX_TEMPFAIL;
  return Doctor::matters(finding) ? there_are_findings : status;
}

int doctor(const Settings& settings, DoctorOptions& options) {
  if (options.users.empty() != options.all)
    return complain("doctor", "name users, or all of them with -A", EX_USAGE);
  int status = EX_OK;
  const auto users =
      options.all ? all_users(settings, status) : named_users(settings, options.users, status);
  options.examination.now = std::time(nullptr);
  const std::size_t jobs =
      options.jobs > 0 ? options.jobs : std::max<std::size_t>(1, usable_processors().size());
  Listing listing({"user", "severity", "code", "what", "advice"});
  Doctor::examine_users(
      users, options.examination, jobs, [&](std::size_t user, const Doctor::Findings& findings) {
        for (const Finding& finding : findings) {
          status = status_after(finding, status);
          if (finding.severity >= options.least)
            listing.add({users[user].address(), word_of(finding.severity), finding.code,
                         finding.object + ": " + finding.reason, finding.advice});
        }
        if (options.form != ListingForm::table || listing.size() >= rows_of_a_part)
          listing.print_part(options.form, std::cout);
      });
  if (!listing.is_empty() || options.form == ListingForm::json)
    listing.print(options.form, std::cout);
  return status;
}

}  // namespace

Run declare_doctor(CLI::App& app) {
  const auto options = std::make_shared<DoctorOptions>();
  const Option users =
      add_option(app, "users", options->users, "The users, by mail address").type_name("");
  add_flag(app, "-A,--all", options->all, "All users").excludes(users);
  const Option repair = add_flag(app, "--repair", options->examination.repair,
                                 "Mend what can be mended without losing anything");
  add_flag(app, "--dry-run", options->examination.dry_run, "Say what --repair would mend")
      .needs(repair);
  add_folder_dots_option(app, options->examination.dots,
                         "Folders with a dot in the name: as delivery is told");
  add_choice(app, "--least", options->least, severities, "The lowest severity that is shown")
      .default_str("info");
  add_option(app, "-j,--jobs", options->jobs,
             "How many processes share the users; one on each processor otherwise")
      .type_name("N")
      .in_range(1, most_jobs);
  add_format_option(app, options->form);
  return [options](const Settings& settings) { return doctor(settings, *options); };
}

}  // namespace Quarrow::Command
