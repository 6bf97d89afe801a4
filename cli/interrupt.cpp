#include "cli/interrupt.h"

#include <signal.h>

namespace tallyfin::cli {
namespace {

CancelToken* interruptToken = nullptr;

void cancelOnSignal(int) {
  if (interruptToken) interruptToken->cancel();
}

void handleWith(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

CancelOnInterrupt::CancelOnInterrupt(CancelToken& token) {
  interruptToken = &token;
  handleWith(cancelOnSignal);
}

CancelOnInterrupt::~CancelOnInterrupt() {
  handleWith(SIG_DFL);
  interruptToken = nullptr;
}

}  // namespace tallyfin::cli
