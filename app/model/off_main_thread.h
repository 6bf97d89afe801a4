#pragma once

// Disk work for the app's model: it runs on the thread pool, and its result comes
// back on `context`'s thread, unless `context` is gone by then, in which case the
// result is dropped. (QFuture::then with a context needs that context to outlive
// the work in Qt 6.4, which a closing window cannot promise.)

#include <QMetaObject>
#include <QObject>
#include <QThreadPool>

#include <memory>
#include <mutex>
#include <utility>

namespace tallyfin::app {

template <class Work, class Done>
void offMainThread(QThreadPool& pool, QObject* context, Work work, Done done) {
  // Cleared by the context's own destruction, under the same lock as the hand-back,
  // so a result is only ever posted to a living object.
  struct Target {
    std::mutex lock;
    QObject* object = nullptr;
    QMetaObject::Connection watch;
  };
  auto target = std::make_shared<Target>();
  target->object = context;
  target->watch = QObject::connect(context, &QObject::destroyed, [target] {
    const std::lock_guard guard(target->lock);
    target->object = nullptr;
  });
  pool.start([target, work = std::move(work), done = std::move(done)]() mutable {
    auto result = std::make_shared<decltype(work())>(work());
    const std::lock_guard guard(target->lock);
    if (!target->object) return;
    QMetaObject::invokeMethod(
        target->object,
        [target, done = std::move(done), result]() mutable {
          QObject::disconnect(target->watch);
          done(std::move(*result));
        },
        Qt::QueuedConnection);
  });
}

// The same on the shared pool.
template <class Work, class Done>
void offMainThread(QObject* context, Work work, Done done) {
  offMainThread(*QThreadPool::globalInstance(), context, std::move(work), std::move(done));
}

}  // namespace tallyfin::app
