// The simulators as Xcode reports them, from a stand-in xcrun that prints what
// `simctl list devices -j` and `simctl runtime list -j` printed on a Mac: each
// device is named by its runtime's exact version where that runtime is installed.

#include <gtest/gtest.h>

#include "kit/cleanup/cleanup_rules.h"
#include "kit/tools/tool_probe.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tree_builder.h"

namespace tallyfin {
namespace {

constexpr const char* kDevices = R"({
  "devices" : {
    "com.apple.CoreSimulator.SimRuntime.iOS-17-0" : [
      {
        "lastBootedAt" : "2024-05-28T08:15:02Z",
        "dataPath" : "/Users/ann/Library/Developer/CoreSimulator/Devices/5A1E6C2B-3F4D-4E8A-9B7C-1D2E3F4A5B6C/data",
        "dataPathSize" : 1523712000,
        "udid" : "5A1E6C2B-3F4D-4E8A-9B7C-1D2E3F4A5B6C",
        "isAvailable" : true,
        "deviceTypeIdentifier" : "com.apple.CoreSimulator.SimDeviceType.iPhone-15",
        "state" : "Shutdown",
        "name" : "iPhone 15"
      }
    ],
    "com.apple.CoreSimulator.SimRuntime.iOS-16-4" : [
      {
        "udid" : "0B9C8D7E-6F5A-4B3C-8D2E-1F0A9B8C7D6E",
        "isAvailable" : false,
        "availabilityError" : "runtime profile not found using \"System\" match policy",
        "deviceTypeIdentifier" : "com.apple.CoreSimulator.SimDeviceType.iPhone-14",
        "state" : "Shutdown",
        "name" : "iPhone 14"
      }
    ]
  }
})";

constexpr const char* kRuntimes = R"({
  "E2A4C6B8-1D3F-4A5B-9C7D-2E4F6A8B0C1D" : {
    "build" : "21A342",
    "deletable" : true,
    "identifier" : "E2A4C6B8-1D3F-4A5B-9C7D-2E4F6A8B0C1D",
    "kind" : "Disk Image",
    "lastUsedAt" : "2024-05-28T08:15:02Z",
    "path" : "/Library/Developer/CoreSimulator/Volumes/iOS_21A342",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.iOS-17-0",
    "signatureState" : "Verified",
    "sizeBytes" : 7103987712,
    "state" : "Ready",
    "version" : "17.0.1"
  }
})";

// xcrun as the probe runs it, answering from the recorded outputs.
std::string fakeXcrun(const testing::TempFolder& folder) {
  testing::writeText(folder / "devices.json", kDevices);
  testing::writeText(folder / "runtimes.json", kRuntimes);
  const std::string program = folder / "bin/xcrun";
  testing::writeText(program, "#!/bin/sh\n"
                              "case \"$1 $2 $3 $4\" in\n"
                              "  'simctl list devices -j') exec cat '" + folder / "devices.json" + "';;\n"
                              "  'simctl runtime list -j') exec cat '" + folder / "runtimes.json" + "';;\n"
                              "esac\n"
                              "exit 64\n");
  testing::setMode(program, 0755);
  return program;
}

TEST(SimulatorLookup, DevicesTakeTheExactVersionOfTheirInstalledRuntime) {
  const testing::TempFolder home;
  const ToolSnapshot tools = ToolProbe::collect(home.path(), fakeXcrun(home), 5);
  ASSERT_EQ(tools.devices.size(), 2u);
  ASSERT_EQ(tools.runtimes.size(), 1u);
  EXPECT_FALSE(tools.problem.has_value());

  const std::string devices = home / "Library/Developer/CoreSimulator/Devices/";
  const auto tree = testing::TreeBuilder()
                        .add(devices + "5A1E6C2B-3F4D-4E8A-9B7C-1D2E3F4A5B6C", 1'523'712'000)
                        .add(devices + "0B9C8D7E-6F5A-4B3C-8D2E-1F0A9B8C7D6E", 80'000'000)
                        .build();
  const auto items = CleanupRules(home.path()).items(tree, {}, tools);
  const auto titled = [&](const std::string& path) {
    for (const auto& item : items) {
      if (item.path == path) return item.title;
    }
    return std::string("(no item)");
  };
  // The installed runtime says 17.0.1; the device's own key only says 17.0.
  EXPECT_EQ(titled(devices + "5A1E6C2B-3F4D-4E8A-9B7C-1D2E3F4A5B6C"), "iPhone 15 \u00B7 iOS 17.0.1");
  // A runtime no longer installed is named from the device's key alone.
  EXPECT_EQ(titled(devices + "0B9C8D7E-6F5A-4B3C-8D2E-1F0A9B8C7D6E"), "iPhone 14 \u00B7 iOS 16.4");
  EXPECT_EQ(titled("/Library/Developer/CoreSimulator/Volumes/iOS_21A342"), "iOS 17.0.1 Simulator runtime");
}

}  // namespace
}  // namespace tallyfin
