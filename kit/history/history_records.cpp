#include "kit/history/history_records.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "kit/base/json_fields.h"

namespace tallyfin {
namespace {

constexpr const char* kStatusNames[] = {"new", "gone", "grew", "shrank"};

}  // namespace

void to_json(nlohmann::json& json, ScanTrigger trigger) {
  json = trigger == ScanTrigger::manual ? "manual" : "scheduled";
}

void from_json(const nlohmann::json& json, ScanTrigger& trigger) {
  const auto text = json.get<std::string>();
  if (text == "manual") {
    trigger = ScanTrigger::manual;
  } else if (text == "scheduled") {
    trigger = ScanTrigger::scheduled;
  } else {
    throw std::invalid_argument("unknown trigger " + text);
  }
}

void to_json(nlohmann::json& json, const HistoryEntry& entry) {
  json = nlohmann::json{{"date", entry.date},
                        {"used", entry.used},
                        {"free", entry.free},
                        {"reclaimableSafe", entry.reclaimableSafe},
                        {"reclaimableReview", entry.reclaimableReview}};
  setOptional(json, "trigger", entry.trigger);
  setOptional(json, "topChangePath", entry.topChangePath);
  setOptional(json, "topChangeDelta", entry.topChangeDelta);
}

void from_json(const nlohmann::json& json, HistoryEntry& entry) {
  entry.date = json.at("date").get<double>();
  entry.used = json.at("used").get<int64_t>();
  entry.free = json.at("free").get<int64_t>();
  entry.reclaimableSafe = json.at("reclaimableSafe").get<int64_t>();
  entry.reclaimableReview = json.at("reclaimableReview").get<int64_t>();
  entry.trigger = optionalField<ScanTrigger>(json, "trigger");
  entry.topChangePath = optionalField<std::string>(json, "topChangePath");
  entry.topChangeDelta = optionalField<int64_t>(json, "topChangeDelta");
}

void to_json(nlohmann::json& json, const Snapshot& snapshot) {
  json = nlohmann::json{{"date", snapshot.date},
                        {"used", snapshot.used},
                        {"sizes", snapshot.sizes},
                        {"unreadable", snapshot.unreadable}};
}

void from_json(const nlohmann::json& json, Snapshot& snapshot) {
  snapshot.date = json.at("date").get<double>();
  snapshot.used = json.at("used").get<int64_t>();
  snapshot.sizes = json.at("sizes").get<SizeMap>();
  snapshot.unreadable = json.at("unreadable").get<std::vector<std::string>>();
}

void to_json(nlohmann::json& json, const Change& change) {
  json = nlohmann::json{{"path", change.path},
                        {"delta", change.delta},
                        {"before", change.before},
                        {"after", change.after},
                        {"status", kStatusNames[static_cast<int>(change.status)]}};
}

void from_json(const nlohmann::json& json, Change& change) {
  change.path = json.at("path").get<std::string>();
  change.delta = json.at("delta").get<int64_t>();
  change.before = json.at("before").get<int64_t>();
  change.after = json.at("after").get<int64_t>();
  const auto status = json.at("status").get<std::string>();
  for (int i = 0; i < 4; ++i) {
    if (status == kStatusNames[i]) {
      change.status = static_cast<Change::Status>(i);
      return;
    }
  }
  throw std::invalid_argument("unknown change status " + status);
}

void to_json(nlohmann::json& json, const ChangeSummary& summary) {
  json = nlohmann::json{
      {"since", summary.since}, {"usedDelta", summary.usedDelta}, {"items", summary.items}};
}

void from_json(const nlohmann::json& json, ChangeSummary& summary) {
  summary.since = json.at("since").get<double>();
  summary.usedDelta = json.at("usedDelta").get<int64_t>();
  summary.items = json.at("items").get<std::vector<Change>>();
}

void to_json(nlohmann::json& json, const FolderSample& sample) {
  json = nlohmann::json{{"date", sample.date}, {"sizes", sample.sizes}};
}

void from_json(const nlohmann::json& json, FolderSample& sample) {
  sample.date = json.at("date").get<double>();
  sample.sizes = json.at("sizes").get<SizeMap>();
}

}  // namespace tallyfin
