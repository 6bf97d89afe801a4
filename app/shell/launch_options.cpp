#include "app/shell/launch_options.h"

namespace tallyfin::app {

Expected<LaunchOptions, std::string> parseLaunchOptions(const std::vector<std::string>& arguments) {
  LaunchOptions options;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--route") {
      if (i + 1 >= arguments.size()) return fail(std::string("--route needs a screen name"));
      const auto route = routeNamed(arguments[++i]);
      if (!route) return fail("there is no screen named " + arguments[i]);
      options.route = route;
    } else if (argument == "--map") {
      if (i + 1 >= arguments.size()) return fail(std::string("--map needs a layout: sunburst, treemap or city"));
      options.map = mapKindNamed(arguments[++i]);
      if (!options.map) return fail("there is no map layout named " + arguments[i] + " (sunburst, treemap, city)");
    } else if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else {
      return fail("unknown option " + argument);
    }
  }
  return options;
}

}  // namespace tallyfin::app
