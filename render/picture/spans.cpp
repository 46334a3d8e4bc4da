#include "picture/spans.h"

#include <algorithm>

namespace brantel::render {

namespace {

struct Edge {
    std::int32_t column;
    std::size_t thing;
    bool begins;
};

std::vector<Edge> edgesOf(const std::vector<Columns>& covered) {
    std::vector<Edge> edges;
    edges.reserve(2 * covered.size());
    for (std::size_t i = 0; i < covered.size(); ++i) {
        edges.push_back({covered[i].first, i, true});
        edges.push_back({covered[i].end, i, false});
    }
    std::sort(edges.begin(), edges.end(),
              [](const Edge& one, const Edge& other) { return one.column < other.column; });
    return edges;
}

}  // namespace

std::vector<Span> spansOf(const std::vector<Columns>& covered, std::int32_t width) {
    std::vector<Span> spans;
    std::vector<std::size_t> covering;
    std::int32_t column = 0;
    const auto goTo = [&](std::int32_t end) {
        if (column < end) spans.push_back({{column, end}, covering});
        column = end;
    };
    for (const Edge& edge : edgesOf(covered)) {
        goTo(edge.column);
        const auto place = std::lower_bound(covering.begin(), covering.end(), edge.thing);
        if (edge.begins)
            covering.insert(place, edge.thing);
        else
            covering.erase(place);
    }
    goTo(width);
    return spans;
}

}  // namespace brantel::render
