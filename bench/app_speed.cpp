// tallyfin-app-speed: how the desktop app feels with a big report. Prints one line
// of JSON.
//
//   tallyfin-app-speed startup      from process start until the window has drawn
//                                   the saved report (the user's data folder as
//                                   $XDG_DATA_HOME says)
//   tallyfin-app-speed scan FOLDER  scans FOLDER from the window while a timer on
//                                   the main thread measures the longest stretch
//                                   in which it could not run, and how much of that
//                                   stretch was the main thread's own work (the rest
//                                   is time the system gave to other threads)
//   tallyfin-app-speed duplicates FOLDER
//                                   the same while the Duplicates screen searches
//                                   FOLDER (files of 1 MB and more), with the hash
//                                   cache of the data folder $XDG_DATA_HOME names
//
// The window is drawn offscreen unless QT_QPA_PLATFORM says otherwise.

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QTimer>

#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "app/shell/desktop_app.h"
#include "kit/base/small_file.h"

namespace {

using namespace tallyfin;
using namespace tallyfin::app;

constexpr int kTickMilliseconds = 5;

// Milliseconds since the kernel started this process (10 ms steps).
double processAgeMilliseconds() {
  std::ifstream statFile("/proc/self/stat");
  std::string stat((std::istreambuf_iterator<char>(statFile)), {});
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string field;
  for (int i = 3; i <= 22; ++i) fields >> field;  // field 22: start time in clock ticks since boot
  const double started = std::stod(field) / static_cast<double>(::sysconf(_SC_CLK_TCK));
  std::ifstream uptimeFile("/proc/uptime");
  double uptime = 0;
  uptimeFile >> uptime;
  return (uptime - started) * 1000;
}

qint64 threadCpuNanoseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<qint64>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

int startup(QElapsedTimer& sinceMain) {
  DesktopApp app(AppEnvironment::forThisUser());
  AppModel& model = app.model();
  auto* line = app.window().screen(Route::overview)->findChild<QLabel*>("diskLine");
  // The first paint of a part that shows only with a report: the report is on screen.
  struct PaintWatch : QObject {
    AppModel* model;
    std::function<void()> drawn;
    bool eventFilter(QObject*, QEvent* event) override {
      if (event->type() == QEvent::Paint && model->scanner().report() && drawn) {
        QTimer::singleShot(0, drawn);  // after this paint has finished
        drawn = nullptr;
      }
      return false;
    }
  } watch;
  watch.model = &model;
  watch.drawn = [&] {
    const auto report = model.scanner().report();
    std::printf(
        "{\"process_to_report_shown_ms\": %.0f, \"main_to_report_shown_ms\": %lld, \"files_in_report\": %lld, "
        "\"report_bytes\": %lld}\n",
        processAgeMilliseconds(), static_cast<long long>(sinceMain.elapsed()),
        static_cast<long long>(report->fileCount),
        static_cast<long long>(readSmallFile(model.store().url(Store::File::report), Store::kLargestLoad)->size()));
    QApplication::quit();
  };
  line->installEventFilter(&watch);
  app.start({});
  QTimer::singleShot(60'000, [] {
    std::fputs("tallyfin-app-speed: no report showed within a minute — is there a saved report?\n", stderr);
    QApplication::exit(1);
  });
  return QApplication::exec();
}

// A timer on the main thread every 5 ms, from start(): the longest stretch in which
// it could not run, and the processor time the main thread itself used in one stretch.
struct StallWatch {
  QElapsedTimer clock;
  QTimer ticker;
  qint64 last = -1, longest = 0, ticks = 0;
  qint64 lastWork = 0, longestBusy = 0;

  StallWatch() {
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [this] {
      const qint64 now = clock.nsecsElapsed();
      const qint64 work = threadCpuNanoseconds();
      if (last >= 0) {
        longest = std::max(longest, now - last);
        longestBusy = std::max(longestBusy, work - lastWork);
      }
      last = now;
      lastWork = work;
      ++ticks;
    });
  }
  void start() {
    clock.start();
    ticker.start(kTickMilliseconds);
  }
  // "seconds": …, "longest_main_thread_stall_ms": …, "longest_main_thread_work_ms": …, "ticks": …
  std::string json(const char* seconds) const {
    char text[256];
    std::snprintf(text, sizeof text,
                  "\"%s\": %.2f, \"longest_main_thread_stall_ms\": %.1f, \"longest_main_thread_work_ms\": %.1f, "
                  "\"ticks\": %lld",
                  seconds, static_cast<double>(clock.nsecsElapsed()) / 1e9, static_cast<double>(longest) / 1e6,
                  static_cast<double>(longestBusy) / 1e6, static_cast<long long>(ticks));
    return text;
  }
};

int scan(const std::string& folder) {
  AppEnvironment environment = AppEnvironment::forThisUser();
  environment.configuration.root = folder;
  environment.configuration.displayRoot = folder;
  environment.probeTools = {};
  DesktopApp app(std::move(environment));
  AppModel& model = app.model();
  // Every built screen exists, so each one's work on a new report counts.
  for (const Route route : {Route::cleanup, Route::largeFiles, Route::history}) model.setRoute(route);
  LaunchOptions open;
  open.route = Route::overview;
  app.start(open);

  StallWatch watch;
  qint64 updates = 0;
  QObject::connect(&model.scanner(), &ScanController::progressChanged, [&] { ++updates; });
  QObject::connect(&model.scanner(), &ScanController::scanningChanged, [&](bool scanning) {
    if (scanning) return;
    // One more tick after the result was applied, so that work counts too.
    QTimer::singleShot(kTickMilliseconds, [&] {
      const auto report = model.scanner().report();
      std::printf("{%s, \"files\": %lld, \"progress_updates\": %lld, \"error\": \"%s\"}\n",
                  watch.json("scan_seconds").c_str(), static_cast<long long>(report ? report->fileCount : 0),
                  static_cast<long long>(updates), model.scanner().scanError().value_or("").c_str());
      QApplication::quit();
    });
  });
  QTimer::singleShot(500, [&] {  // once the window and the first load have settled
    watch.start();
    model.scanner().scan();
  });
  return QApplication::exec();
}

int duplicates(const std::string& folder) {
  DesktopApp app(AppEnvironment::forThisUser());
  AppModel& model = app.model();
  model.setRoute(Route::duplicates);
  LaunchOptions open;
  open.route = Route::duplicates;
  app.start(open);

  StallWatch watch;
  qint64 updates = 0;
  bool searching = false;
  QObject::connect(&model.tools(), &ToolResults::duplicateProgressChanged, [&] { ++updates; });
  QObject::connect(&model.tools(), &ToolResults::changed, [&] {
    if (!searching || model.tools().isLoading(ToolResults::Tool::duplicates)) return;
    searching = false;
    QTimer::singleShot(kTickMilliseconds, [&] {
      const auto& found = model.tools().duplicates;
      int64_t reclaimable = 0;
      for (const auto& group : found ? found->groups : std::vector<DuplicateGroup>{}) reclaimable += group.reclaimable();
      std::printf("{%s, \"sets\": %zu, \"reclaimable_bytes\": %lld, \"progress_updates\": %lld}\n",
                  watch.json("search_seconds").c_str(), found ? found->groups.size() : size_t{0},
                  static_cast<long long>(reclaimable), static_cast<long long>(updates));
      QApplication::quit();
    });
  });
  // Once the window has settled and the screen's own search of the scan's big files is done.
  QTimer::singleShot(500, [&] {
    QTimer* wait = new QTimer(&app.window());
    QObject::connect(wait, &QTimer::timeout, [&, wait] {
      if (model.tools().isLoading(ToolResults::Tool::duplicates)) return;
      wait->deleteLater();
      watch.start();
      searching = true;
      model.tools().findDuplicates(folder, DuplicateFinder::kFolderMinimum);
    });
    wait->start(50);
  });
  return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  QElapsedTimer sinceMain;
  sinceMain.start();
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const QStringList arguments = QApplication::arguments();
  if (arguments.size() == 2 && arguments[1] == "startup") return startup(sinceMain);
  if (arguments.size() == 3 && arguments[1] == "scan") return scan(arguments[2].toStdString());
  if (arguments.size() == 3 && arguments[1] == "duplicates") return duplicates(arguments[2].toStdString());
  std::fputs("usage: tallyfin-app-speed startup | scan FOLDER | duplicates FOLDER\n", stderr);
  return 64;
}
