#include "offerwall/scroll_scripts.h"

#include "util/number_text.h"

namespace korvane {
namespace {

const char* const kFindContainer = R"JS(function() {
    function scrollable(el) {
        var style = window.getComputedStyle(el);
        return (style.overflowY === 'auto' || style.overflowY === 'scroll') &&
               el.scrollHeight - el.clientHeight > 1;
    }
    var points = [[innerWidth / 2, innerHeight / 2], [innerWidth / 2, 10], [innerWidth / 2, innerHeight - 10]];
    var visited = new Set();
    for (var i = 0; i < points.length; i++) {
        var el = document.elementFromPoint(points[i][0], points[i][1]);
        for (var steps = 0; el && steps < 20; steps++, el = el.parentElement) {
            if (visited.has(el)) continue;
            visited.add(el);
            if (scrollable(el)) return el;
        }
    }
    return null;
})JS";

}  // namespace

const std::string& saveScrollScript() {
  static const std::string script = std::string("(function() {\n    var container = (") +
                                    kFindContainer +
                                    ")();\n    return container ? container.scrollTop : 0;\n})()";
  return script;
}

std::string restoreScrollScript(double offset) {
  return std::string("(function() {\n    var container = (") + kFindContainer +
         ")();\n    if (!container) return 'not_found';\n    container.scrollTop = " +
         swiftNumber(offset) + ";\n    return 'restored:' + container.scrollTop;\n})()";
}

}  // namespace korvane
