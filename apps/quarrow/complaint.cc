// Complaints and exit statuses.
#include "apps/quarrow/complaint.h"

#include <sysexits.h>

#include <algorithm>
#include <iostream>
#include <iterator>

#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Kind = Refusal::Kind;

// In bytes: more than any reason takes whose parts were shortened.
constexpr std::size_t longest_reason = 5 * shown_bytes;

// The command's answer to a kind of refusal.
struct Conduct {
  Kind kind;
  int status;
  const char* hint = "";  // {} stands for what the hint is about
};

const Conduct conducts[] = {
    {Kind::none, EX_OK},
    {Kind::no_address, EX_NOUSER},
    {Kind::no_such_user, EX_NOUSER, "quarrow user add {} makes one"},
    {Kind::user_exists, EX_DATAERR},
    {Kind::has_mail, EX_DATAERR, "--with-mail removes it, too"},
    {Kind::no_such_filter, EX_DATAERR, "see quarrow filter list {}"},
    {Kind::ambiguous_filter, EX_DATAERR},
    {Kind::limit_reached, EX_DATAERR},
    {Kind::outdated, EX_DATAERR, "see quarrow history {}"},
    {Kind::no_revision, EX_DATAERR, "see quarrow history {}"},
    {Kind::nothing_to_undo, EX_DATAERR, "see quarrow history {}"},
    {Kind::has_filters, EX_USAGE, "give --append to keep them, or --replace"},
    {Kind::lossy_rules, EX_DATAERR, "--accept-loss takes the others over"},
    {Kind::no_number_left, EX_DATAERR},
    {Kind::no_name, EX_DATAERR, "give one with --name"},
    {Kind::no_tests, EX_USAGE, "give at least one --if 'subject contains quarterly'"},
    {Kind::too_many_tests, EX_USAGE},
    {Kind::no_actions, EX_USAGE, "give at least one --then 'move FOLDER', 'copy FOLDER' or delete"},
    {Kind::not_utf8, EX_DATAERR, "type it in a UTF-8 terminal"},
    {Kind::unreadable_rule, EX_DATAERR},
    {Kind::wrong_rule, EX_DATAERR},
    {Kind::wrong_setting, EX_DATAERR, "see quarrow config list"},
    {Kind::wrong_json, EX_DATAERR},
    {Kind::script_too_long, EX_DATAERR},
    {Kind::rules_refused, EX_DATAERR, "see quarrow filter list for a rule that looks odd"},
    {Kind::no_configuration, EX_CONFIG, "quarrow --root {} init makes it"},
    {Kind::damaged_configuration, EX_CONFIG,
     "restore it from a copy, or remove it and run quarrow init"},
    {Kind::damaged_document, EX_DATAERR},
    {Kind::unreadable_part, EX_DATAERR,
     "restore it from a copy, or change the filters with "
     "--accept-loss"},
    {Kind::locked, EX_TEMPFAIL},
    {Kind::not_locked, EX_DATAERR, "quarrow user lock {} locks them"},
    {Kind::wrong_archive, EX_DATAERR},
    {Kind::foreign_script, EX_DATAERR, "keep a copy of it, and use --replace-script"},
    {Kind::damaged_history, EX_DATAERR},
    {Kind::missing, EX_NOINPUT},
    {Kind::not_permitted, EX_NOPERM},
    {Kind::try_again, EX_TEMPFAIL},
    {Kind::no_room, EX_IOERR},
    {Kind::not_made, EX_CANTCREAT},
    {Kind::not_written, EX_IOERR},
    {Kind::crashed, EX_SOFTWARE},
    {Kind::unavailable, EX_UNAVAILABLE}};

const Conduct& conduct_of(Kind kind) {
  return *std::find_if(
      std::begin(conducts), std::end(conducts),
      [kind](const Conduct& conduct) { return conduct.kind == kind; });
}

std::string hint(const Conduct& conduct, const std::string& about) {
  std::string text = conduct.hint;
  if (text.empty()) return text;
  const std::size_t gap = text.find("{}");
  if (gap != std::string::npos) text.replace(gap, 2, about);
  return "; " + text;
}

}  // namespace

int complain(const std::string& object, const std::string& reason, int status) {
  std::cout.flush();  // so that both streams stay in order where they end in one place
  std::cerr << "quarrow: " << printable(shortened(object)) << ": "
            << printable(shortened(reason, longest_reason)) << '\n';
  return status;
}

int complain(const std::string& object, const Fault& fault) {
  return complain(object, fault.reason, fault.status);
}

int exit_status(Kind kind) { return conduct_of(kind).status; }

int complain(const Refusal& refusal) { return complain(refusal, refusal.object); }

int complain(const Refusal& refusal, const std::string& about) {
  const Conduct& conduct = conduct_of(refusal.kind);
  const bool asks = !refusal.reason.empty() && refusal.reason.back() == '?';  // no better hint
  const std::string further = asks ? "" : hint(conduct, about);
  return complain(refusal.object, refusal.reason + further, conduct.status);
}

int file_status(int error) { return exit_status(Administration::kind_of_error(error)); }

int finish_output(int status) {
  std::cout.flush();
  if (std::cout) return status;
  return complain("standard output", "not all could be written; is the disk full?", EX_IOERR);
}

}  // namespace Quarrow::Command
