#pragma once

// Disk work for the app's model: it runs on the thread pool, and its result comes
// back on `context`'s thread, unless `context` is gone by then.

#include <QFuture>
#include <QObject>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

namespace tallyfin::app {

template <class Work, class Done>
void offMainThread(QObject* context, Work work, Done done) {
  QtConcurrent::run(std::move(work)).then(context, std::move(done));
}

}  // namespace tallyfin::app
