#include "audio/process/MInterpolator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vantor {

bool MInterpolator::setPoints(std::vector<Point> points) {
  for (size_t i = 0; i < points.size(); ++i) {
    if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y)) return false;
    if (i > 0 && points[i].x < points[i - 1].x) return false;
  }
  points_ = std::move(points);
  return true;
}

double MInterpolator::valueAt(double x) const {
  if (points_.empty()) return 1.0;
  if (x <= points_.front().x) return points_.front().y;
  if (x >= points_.back().x) return points_.back().y;
  // The first point beyond x; its predecessor lies at or before x.
  const auto next = std::upper_bound(points_.begin(), points_.end(), x,
                                     [](double value, const Point& point) { return value < point.x; });
  const Point& a = *(next - 1);
  const Point& b = *next;
  return a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x);
}

std::optional<MInterpolator> MInterpolator::parse(std::string_view text) {
  std::vector<Point> points;
  std::string rest(text);
  const char* at = rest.c_str();
  while (true) {
    while (*at == ' ') ++at;
    if (*at == '\0') break;
    char* end = nullptr;
    Point point;
    point.x = std::strtod(at, &end);
    if (end == at || *end != ':') return std::nullopt;
    at = end + 1;
    point.y = std::strtod(at, &end);
    if (end == at) return std::nullopt;
    points.push_back(point);
    at = end;
    while (*at == ' ') ++at;
    if (*at == ',') {
      ++at;
    } else if (*at != '\0') {
      return std::nullopt;
    }
  }
  MInterpolator curve;
  if (!curve.setPoints(std::move(points))) return std::nullopt;
  return curve;
}

std::string MInterpolator::toText() const {
  std::string text;
  char pair[80];
  for (const Point& point : points_) {
    std::snprintf(pair, sizeof pair, "%s%.17g:%.17g", text.empty() ? "" : ", ", point.x, point.y);
    text += pair;
  }
  return text;
}

}  // namespace vantor
