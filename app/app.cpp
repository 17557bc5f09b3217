#include "app/app.h"

#include <memory>
#include <string>

#include "app/admission.h"
#include "app/http_server.h"
#include "app/instance.h"
#include "app/life.h"
#include "app/routes.h"
#include "app/start_file.h"
#include "platform/browser.h"
#include "platform/child_process.h"
#include "platform/process.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::app {
namespace {

using platform::MonotonicMilliseconds;
using platform::StandardStream;
using platform::Status;

constexpr int kDone = 0, kCouldNotFinish = 3, kInterrupted = platform::kInterruptedExitCode;
constexpr unsigned kPause = 50;  // milliseconds

void Say(StandardStream stream, const std::string& text) {
  platform::WriteStandardStream(stream, text);
  platform::FlushStandardStream(stream);
}

int Complain(const Options& options, const std::string& what) {
  Say(StandardStream::kError, "parvane: " + what + "\n");
  if (options.doubleClicked) platform::ShowMessage(platform::Utf8ToUtf16(what));
  return kCouldNotFinish;
}

// Where the page is said to those who asked for it, and to those who read a terminal: it is nobody
// else's business.
int Show(const Options& options, const std::string& address) {
  const bool said = !options.browser || platform::IsInteractive(StandardStream::kOutput);
  if (said) Say(StandardStream::kOutput, address + "\n");
  if (!options.browser) return kDone;
  const Status shown = ShowPage(address);
  if (shown.ok()) return kDone;
  if (!said) return Complain(options, shown.message());
  Say(StandardStream::kError, "parvane: " + shown.message() + "; please open the address above\n");
  return kDone;
}

int Serve(const Options& options, Instance& instance) {
  const std::string secret = MakeSecret();
  platform::InterruptWatch interrupt;
  Life life(MonotonicMilliseconds());
  Routes routes(life, [&interrupt] { return interrupt.Requested(); });
  auto server = HttpServer::Listen(
      secret, [&routes](const HttpRequest& request) { return routes.Answer(request); });
  if (!server.ok()) return Complain(options, server.status().message());
  if (Status noted = instance.Announce((*server)->port(), secret); !noted.ok())
    return Complain(options, noted.message());
  const int shown = Show(options, (*server)->Address());
  if (shown != kDone) return shown;
  if (options.doubleClicked) platform::LeaveConsole();
  bool brokeOff = false;
  for (bool over = false; !over; platform::Sleep(kPause)) {
    const bool busy = routes.IsBusy();
    // A conversion that is to stop ends what it has begun.
    brokeOff = brokeOff || (busy && interrupt.Requested());
    const bool idle = life.IsOver(MonotonicMilliseconds(), busy || (*server)->Visitors() > 0);
    over = !busy && (idle || interrupt.Requested() || !(*server)->IsListening());
  }
  RemoveStartFile();
  return brokeOff ? kInterrupted : kDone;
}

}  // namespace

bool IsBuiltIn() { return true; }

int RunApp(const Options& options) {
  auto found = Instance::Look();
  if (!found.ok()) return Complain(options, found.status().message());
  return found->own ? Serve(options, *found->own) : Show(options, found->address);
}

}  // namespace parvane::app
