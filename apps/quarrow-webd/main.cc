// The web server: its start, and what its processes do. web_server/broker.h does the rest.
//
// SECURITY: clients are the reverse proxy and, through it, strangers. Workers read what these send;
// they have no rights to a file, and ask the broker, which was forked before the server gave up the
// rights of its start. A child of the broker becomes the owner of one user's folder and works
// there. Passwords are checked by a child that becomes the user that workers run as.
#include <sysexits.h>
#include <syslog.h>
#include <unistd.h>
#include <zvelluser.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "administration/root_setup.h"
#include "apps/quarrow-webd/signing_admission.h"
#include "apps/quarrow-webd/web_options.h"
#include "delivery/helper_process.h"
#include "delivery/recipient_lookup.h"
#include "delivery/sandbox.h"
#include "http/http_session.h"
#include "message_filters/mailbox_name.h"
#include "monitoring/monitor.h"
#include "server/counters.h"
#include "server/daemon.h"
#include "server/listener.h"
#include "server/log.h"
#include "server/privileges.h"
#include "server/server_program.h"
#include "signing_in/check_process.h"
#include "web_api/api.h"
#include "web_server/broker.h"
#include "web_server/broker_process.h"
#include "web_server/caller.h"
#include "web_server/front.h"
#include "web_server/page_files.h"
#include "web_server/user_work.h"

namespace Quarrow::Webd {
namespace {

using WebServer::Verdict;

const char program[] = "quarrow-webd";
const Server::LogOrigin origin = {program, LOG_DAEMON};

enum Counter : std::size_t { requests, workers_replaced };

Verdict verdict_of(const SigningIn::PasswordVerdict& verdict) {
  switch (verdict.result) {
    case SigningIn::PasswordVerdict::Result::right:
      return Verdict::right;
    case SigningIn::PasswordVerdict::Result::wrong:
      return Verdict::wrong;
    default:
      Server::log_error("sign-in: " + verdict.reason);
      return Verdict::unavailable;
  }
}

// What strangers make the password server say is read with the rights of a worker at most.
Verdict check_password(const Options& options, const std::string& user,
                       const std::string& password) {
  if (options.imap.url.empty()) return Verdict::unavailable;
  if (const std::string reason = Server::become(options.server.user); !reason.empty()) {
    Server::log_error(reason);
    return Verdict::unavailable;
  }
  const auto check = [&](const std::string& name, const std::string& secret) {
    return SigningIn::imap_sign_in(options.imap, name, secret);
  };
  std::string secret = password;
  return verdict_of(SigningIn::CheckProcess(check, user, secret, options.work.time).verdict());
}

Http::Response work(const Options& options, const EmailAddress& user,
                    const Http::Request& request) {
  return WebApi::answer({user, options.root, options.catalogue, options.folder_dots}, request);
}

bool evaluates_mail(const WebServer::Call& call) {
  return call.kind == WebServer::Call::Kind::work && WebApi::evaluates_mail(call.request);
}

bool is_sign_in(const WebServer::Call& call) { return call.kind == WebServer::Call::Kind::sign_in; }

bool is_work(const WebServer::Call& call) { return call.kind == WebServer::Call::Kind::work; }

void prepare_for_sign_in(const Options& options) {
  if (!options.imap.url.empty()) SigningIn::prepare_for_imap();
}

// Loads ICU and SQLite. A child that needs the configuration opens it anew.
void prepare_for_rules(const Options& options) {
  (void)MessageFilters::imap_mailbox_name("\u00e4");
  (void)Administration::open_configuration(options.root);
}

Delivery::RecipientLookup look_up(const Options& options, const std::string& user) {
  const Delivery::MountSign sign = {options.root, Delivery::MountSign::Kind::folder};
  return Delivery::look_up_recipient(user, sign);
}

void be_broker(const Options& options, int introductions) {
  Server::set_log(origin, options.server.log);
  mailuser_set_root(options.root);
  const WebServer::Jobs jobs = {[&](const std::string& user, const std::string& password) {
                                  return check_password(options, user, password);
                                },
                                [&](const std::string& user, const Http::Request& request) {
                                  return WebServer::answer_as_owner(
                                      user, request,
                                      [&](const EmailAddress& owner, const auto& asked) {
                                        return work(options, owner, asked);
                                      });
                                },
                                {{is_sign_in, [&] { prepare_for_sign_in(options); }},
                                 {evaluates_mail, Delivery::prepare_for_helpers},
                                 {is_work, [&] { prepare_for_rules(options); }}}};
  const WebServer::ChildMaker children(jobs, options.work.time);
  SigningIn::SignInSettings settings;
  settings.look_up = [&](const std::string& user) { return look_up(options, user); };
  SigningAdmission admission(settings, options.trusts_proxy_user);
  WebServer::Broker(introductions, admission, children, options.work).run();
}

class WebDaemon {
 public:
  WebDaemon(int argc, const char* const* argv, Options options)
      : argc_(argc), argv_(argv), options_(std::move(options)) {}

  // Serves until it is told to stop; gives the exit status.
  int run() {
    Server::DaemonHooks hooks;
    hooks.keep_rights = [this](const auto& listeners) { return use_rights(listeners); };
    hooks.prepare = [this] { return prepare(); };
    hooks.inspect = [] { tell_faults(); };
    hooks.start_worker = [this] { return start_worker(); };
    hooks.reload = [this] { return reload(); };
    hooks.replaced = [this] { counters_.add(workers_replaced); };
    hooks.ended = [this](pid_t process) { stop_without(process); };
    hooks.monitor = [this](int listener, const auto& health) {
      return Monitoring::monitor(listener, {health, [this] { return counters_.text(); }});
    };
    const int status = Server::Daemon(origin, options_.server, counters_, std::move(hooks)).run();
    return has_broker_ ? status : EX_SOFTWARE;
  }

 private:
  // The page may lie where the user of the workers can't read it.
  std::string use_rights(const std::vector<int>& listeners) {
    if (options_.trusts_proxy_user &&
        !std::all_of(listeners.begin(), listeners.end(), Server::is_in_file_system))
      return "--trust-proxy-user: any program of this host can pass for the proxy at a socket that "
             "the service manager passed; have it listen at a path";
    if (std::string reason = start_broker(); !reason.empty()) return reason;
    page_faults_ = page_.read(options_.page);
    return "";
  }

  // The log is there by now.
  std::string prepare() {
    tell_page();
    return "";
  }

  void tell_page() const {
    for (const std::string& fault : page_faults_) Server::log_warning("page: " + fault);
    if (page_.is_empty()) Server::log_warning("there is no page: the API is served alone");
  }

  std::string start_broker() {
    broker_ =
        WebServer::start_broker([this](int introductions) { be_broker(options_, introductions); });
    return broker_.process > 0 ? "" : std::string("no broker: ") + std::strerror(errno);
  }

  // The sessions are gone, and so are the rights to start another broker: the service manager
  // starts the server anew.
  void stop_without(pid_t process) {
    if (process != broker_.process) return;
    has_broker_ = false;
    Server::log_error("the broker has ended; the server stops");
    (void)kill(getpid(), SIGTERM);
  }

  static void tell_faults() {
    if (!Delivery::has_landlock())
      Server::log_warning(
          "the kernel offers no Landlock: a request that took a worker over could read all files "
          "that the server's user may read");
  }

  Server::NewClientProtocol start_worker() {
    const auto caller = std::make_shared<WebServer::Caller>(broker_.introductions, options_.work);
    (void)close(broker_.introductions);
    if (!WebServer::leave_files()) {
      Server::log_error("a worker can't be confined");
      _exit(EX_OSERR);
    }
    const auto ask = [caller](const WebServer::Call& call) { return caller->ask(call); };
    const WebServer::Front front(ask, options_.trusts_proxy_user, page_);
    const auto handler = [this, front](const Http::Request& request) {
      counters_.add(requests);
      return front.answer(request);
    };
    return [this, handler](const std::string& /*client*/, Server::Output output,
                           const Server::OthersWait& others_wait) {
      return std::make_unique<Http::Session>(handler, options_.http, std::move(output),
                                             others_wait);
    };
  }

  std::optional<Server::DaemonSettings> reload() {
    auto read = Server::options_to_reload(parse_options(argc_, argv_));
    if (!read) return std::nullopt;
    options_.server = read->server;
    options_.http = read->http;
    page_faults_ = page_.read(read->page);
    tell_page();
    return options_.server;
  }

  const int argc_;
  const char* const* const argv_;
  Options options_;
  Server::Counters counters_{
      {{"quarrow_web_requests_total", "", "Requests that were read."},
       {"quarrow_web_workers_replaced_total", "", "Worker processes that ended unasked."}}};
  WebServer::BrokerProcess broker_;
  WebServer::PageFiles page_;
  std::vector<std::string> page_faults_;
  bool has_broker_ = true;
};

int run_webd(int argc, char** argv) {
  return Server::run_program<WebDaemon>(program, argc, argv, parse_options, complete_options);
}

}  // namespace
}  // namespace Quarrow::Webd

int main(int argc, char** argv) { return Quarrow::Webd::run_webd(argc, argv); }
