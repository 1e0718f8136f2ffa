// quarrow stats: what each rule has to do with a user's mail.
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "administration/loaded_rules.h"
#include "administration/users.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/journal_statistics.h"
#include "apps/quarrow/match_report.h"
#include "apps/quarrow/past_deliveries.h"
#include "apps/quarrow/progress_bar.h"
#include "apps/quarrow/statistics_output.h"
#include "apps/quarrow/whole_file.h"
#include "message_filters/user_files.h"
#include "trial/mail_sources.h"
#include "trial/preparation.h"

namespace Quarrow::Command {
namespace {

struct StatsOptions {
  std::string user;
  std::vector<std::string> messages;  // empty: the user's Maildir
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  ListingForm form = ListingForm::table;
  std::string page;  // path; empty: none
  bool from_journal = false;
};

int show(const StatsOptions& options, const MessageFilters::FilterList__& list,
         const std::vector<Trial::MailSource>& sources, int status) {
  Trial::prepare_for(sources);
  ProgressBar bar(std::cerr, Trial::total_size(sources), ProgressBar::Clock::now());
  const bool shows_bar = isatty(STDERR_FILENO) == 1;
  const auto statistics = Trial::statistics_of(
      list, sources, {std::nullopt, options.folder_dots},
      [&status](const Trial::SourceFailure& failure) { status = complain(failure); },
      [&](std::uint64_t bytes) {
        if (shows_bar) bar.advance(bytes, ProgressBar::Clock::now());
      });
  bar.finish();
  print_statistics(statistics, options.form, std::cout);
  if (statistics.failed > 0)
    status = complain(options.user,
                      std::to_string(statistics.failed) +
                          " messages were not evaluated to their end; quarrow explain tells why",
                      EX_TEMPFAIL);
  if (options.page.empty()) return status;
  const Fault fault = write_file(options.page, statistics_page(statistics, options.user));
  return fault ? complain(options.page, "can't be written: " + fault.reason, EX_CANTCREAT) : status;
}

// The user's Maildir and its folders.
std::vector<std::string> all_mail_of(const EmailAddress& user) {
  const std::string maildir = in_folder(Administration::user_folder(user), maildir_name);
  std::vector<std::string> folders = {maildir};
  std::error_code unreadable;  // find_mail will tell of that
  for (const auto& entry : std::filesystem::directory_iterator(maildir, unreadable)) {
    const std::string name = entry.path().filename();
    if (name.front() == '.' && entry.is_directory()) folders.push_back(entry.path());
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

int count_journal(const StatsOptions& options, const EmailAddress& user,
                  const MessageFilters::FilterList__& list) {
  UserJournal journal;
  if (const auto refusal = read_user_journal(user, journal)) return complain(refusal);
  if (!journal.fault.empty())
    return complain(in_folder(Administration::user_folder(user), journal_name),
                    "can't be read: " + journal.fault, EX_NOINPUT);
  if (journal.records.empty())
    return complain(options.user, "no journal; deliver with the option --journal to have one",
                    EX_NOINPUT);
  print_journal_statistics(list, journal.records, options.form, std::cout);
  return EX_OK;
}

int stats(const Settings& settings, const StatsOptions& options) {
  EmailAddress user;
  if (const auto refusal = find_user(settings, options.user, user))
    return complain(settings, refusal);
  boost::shared_ptr<MessageFilters::FilterList__> list;
  if (const auto refusal = Administration::load_rules(user, list)) return complain(refusal);
  if (list->filters.empty())
    return complain(options.user,
                    "no filters to count; add some with quarrow filter add " + options.user,
                    EX_NOINPUT);
  if (options.from_journal) return count_journal(options, user, *list);
  const auto found =
      Trial::find_mail(options.messages.empty() ? all_mail_of(user) : options.messages);
  int status = EX_OK;
  for (const auto& failure : found.failures) status = complain(failure);
  if (status != EX_OK && found.sources.empty()) return status;
  return show(options, *list, found.sources, status);
}

}  // namespace

Run declare_stats(CLI::App& app) {
  const auto options = std::make_shared<StatsOptions>();
  add_user_option(app, options->user);
  const Option messages =
      add_option(app, "messages", options->messages,
                 "Message files, mbox files, Maildir folders; the user's Maildir unless given")
          .type_name("");
  add_format_option(app, options->form);
  const Option page =
      add_option(app, "--html", options->page, "Write a page with a picture to this file, too")
          .type_name("FILE");
  add_flag(app, "--journal", options->from_journal,
           "Count what was decided when mail was delivered, and read no mail")
      .excludes(messages)
      .excludes(page);
  add_folder_dots_option(app, options->folder_dots,
                         "Folders with a dot in the name: as delivery is told");
  return [options](const Settings& settings) { return stats(settings, *options); };
}

}  // namespace Quarrow::Command
