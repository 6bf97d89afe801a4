// A distribution's build: its package manager brings new releases, so the app
// never looks for them, and every action is a no-op.

#include "app/model/update_model.h"

namespace tallyfin::app {

bool UpdateModel::isBuiltIn() { return false; }

UpdateModel::UpdateModel(Preferences preferences, std::optional<AppEnvironment::UpdateFeed> feed,
                         std::string downloadFolder, QObject* parent)
    : QObject(parent), preferences_(std::move(preferences)),
      feed_(std::move(feed)),
      downloadFolder_(std::move(downloadFolder)),
      automaticOn_(false) {
  message_ = "Updates come from your distribution's package manager \u2014 this Tallyfin does not look for them itself.";
}

UpdateModel::~UpdateModel() = default;

bool UpdateModel::checksAutomatically() const { return false; }
void UpdateModel::setChecksAutomatically(bool) {}
void UpdateModel::checkIfDue() {}
void UpdateModel::checkNow() {}
void UpdateModel::check(bool) {}
void UpdateModel::download() {}
void UpdateModel::cancelDownload() {}
void UpdateModel::skipThisVersion() {}
void UpdateModel::install() {}
void UpdateModel::notifyReceived(int64_t) {}
void UpdateModel::setPhase(Phase phase, std::string message) {
  phase_ = phase;
  message_ = std::move(message);
}

}  // namespace tallyfin::app
