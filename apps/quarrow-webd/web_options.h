// The settings of an administrator, from the command line and a file.
#ifndef QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_
#define QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_

#include <ostream>
#include <string>
#include <vector>

#include "http/limits.h"
#include "message_filters/user_files.h"
#include "quarrow/delivery/folder_dots.h"
#include "server/command_line.h"
#include "server/daemon.h"
#include "signing_in/imap_sign_in.h"
#include "web_server/limits.h"

namespace Quarrow::Webd {

// A reload changes those in `server` that may change, the page, and the limits in `http`.
struct Options {
  Options();

  Server::DaemonSettings server;
  std::string root = "/var/spool/quarrow";   // folder of the users' folders
  std::string catalogue = system_catalogue;  // of fields
  std::string page = QUARROW_PAGE_FOLDER;    // folder of the page's files
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  SigningIn::ImapServer imap;  // no URL: nobody signs in with a password
  bool trusts_proxy_user = false;
  Http::Limits http;
  WebServer::Limits work;
};

// The outcome of reading the arguments.
struct Parsed : Server::CommandLine {
  Options options;  // for run
};

// Reads the command line and the file that it names with --config, whose settings it overrides.
Parsed parse_options(int argc, const char* const* argv);

// Answers the script of a shell that completes a command line: see Completion::answer().
void complete_options(const std::vector<std::string>& request, std::ostream& out);

}  // namespace Quarrow::Webd

#endif  // QUARROW_APPS_QUARROW_WEBD_WEB_OPTIONS_H_
