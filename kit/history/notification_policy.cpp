#include "kit/history/notification_policy.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "kit/base/paths.h"
#include "kit/store/format.h"
#include "kit/platform/system_words.h"

namespace tallyfin {
namespace {

constexpr int64_t kLowSpaceDrop = 5'368'709'120;  // 5 GiB lower than last time is news
constexpr int64_t kWorthMentioning = 1'073'741'824;

}  // namespace

std::string_view caseName(Notification::Kind kind) {
  static constexpr std::array<std::string_view, 4> kNames = {"lowSpace", "growth", "reclaimable",
                                                             "autopilot"};
  return kNames[static_cast<size_t>(kind)];
}

void to_json(nlohmann::json& json, const NotificationSettings& s) {
  json = nlohmann::json{{"enabled", s.enabled},
                        {"lowSpaceFraction", s.lowSpaceFraction},
                        {"lowSpaceBytes", s.lowSpaceBytes},
                        {"growthBytes", s.growthBytes},
                        {"reclaimableBytes", s.reclaimableBytes},
                        {"reclaimableStep", s.reclaimableStep},
                        {"cooldownDays", s.cooldownDays}};
}

void from_json(const nlohmann::json& json, NotificationSettings& s) {
  s.enabled = json.at("enabled").get<bool>();
  s.lowSpaceFraction = json.at("lowSpaceFraction").get<double>();
  s.lowSpaceBytes = json.at("lowSpaceBytes").get<int64_t>();
  s.growthBytes = json.at("growthBytes").get<int64_t>();
  s.reclaimableBytes = json.at("reclaimableBytes").get<int64_t>();
  s.reclaimableStep = json.at("reclaimableStep").get<int64_t>();
  s.cooldownDays = json.at("cooldownDays").get<double>();
}

void to_json(nlohmann::json& json, const NotificationState& state) {
  json = nlohmann::json{{"lastSent", state.lastSent},
                        {"lastReclaimable", state.lastReclaimable},
                        {"lastFree", state.lastFree}};
}

void from_json(const nlohmann::json& json, NotificationState& state) {
  state.lastSent = json.value("lastSent", std::map<std::string, double>{});
  state.lastReclaimable = json.value("lastReclaimable", int64_t{0});
  state.lastFree = json.value("lastFree", int64_t{0});
}

bool NotificationPolicy::coolingDown(const NotificationState& state, Notification::Kind kind,
                                     double now) const {
  const auto it = state.lastSent.find(std::string(caseName(kind)));
  return it != state.lastSent.end() && now - it->second < settings_.cooldownDays * 86'400;
}

std::pair<std::optional<Notification>, NotificationState> NotificationPolicy::decide(
    const ScanFacts& facts, NotificationState state, double now) const {
  if (!settings_.enabled) return {std::nullopt, state};

  const auto send = [&](Notification notification) {
    state.lastSent[std::string(caseName(notification.kind))] = now;
    state.lastFree = facts.free;
    if (notification.kind == Notification::Kind::reclaimable) {
      state.lastReclaimable = facts.reclaimableSafe;
    }
    return std::pair{std::optional(std::move(notification)), state};
  };

  const double threshold =
      std::max(settings_.lowSpaceFraction * static_cast<double>(facts.total),
               static_cast<double>(settings_.lowSpaceBytes));
  if (static_cast<double>(facts.free) < threshold) {
    const bool quiet = coolingDown(state, Notification::Kind::lowSpace, now) &&
                       facts.free >= state.lastFree - kLowSpaceDrop;
    if (!quiet) {
      const auto percent = static_cast<int64_t>(
          (1.0 - static_cast<double>(facts.free) /
                     static_cast<double>(std::max<int64_t>(facts.total, 1))) *
          100);
      std::string body = "Your disk is " + std::to_string(percent) + "% full.";
      if (facts.reclaimableSafe >= kWorthMentioning) {
        body += " You can safely free " + Format::bytes(facts.reclaimableSafe) + " right now.";
      }
      return send({Notification::Kind::lowSpace,
                   "Only " + Format::bytes(facts.free) + " free on " + std::string(platform::yourComputer()), body});
    }
  }

  if (facts.usedDelta && *facts.usedDelta >= settings_.growthBytes &&
      !coolingDown(state, Notification::Kind::growth, now)) {
    const std::string growth = Format::bytes(*facts.usedDelta);
    std::string body = "Used space grew by " + growth + " since the last scan.";
    if (facts.topGrowth && facts.topGrowth->delta >= 1) {
      body += " Biggest change: " + std::string(lastComponent(facts.topGrowth->path)) + " (+" +
              Format::bytes(facts.topGrowth->delta) + ").";
    }
    return send({Notification::Kind::growth, "Your disk grew " + growth, body});
  }

  if (facts.reclaimableSafe >= settings_.reclaimableBytes &&
      facts.reclaimableSafe >= state.lastReclaimable + settings_.reclaimableStep &&
      !coolingDown(state, Notification::Kind::reclaimable, now)) {
    std::string body = "Caches and build output that rebuild themselves.";
    if (facts.topCategory) {
      body = "Mostly " + facts.topCategory->label + " (" + Format::bytes(facts.topCategory->size) +
             "). " + body;
    }
    return send({Notification::Kind::reclaimable,
                 Format::bytes(facts.reclaimableSafe) + " of safe cleanup available", body});
  }

  if (facts.reclaimableSafe < state.lastReclaimable) state.lastReclaimable = facts.reclaimableSafe;
  state.lastFree = facts.free;
  return {std::nullopt, state};
}

}  // namespace tallyfin
