#pragma once
// A curve through points, linear between them: the envelope of the
// Envelope process. Before the first point the curve holds the first
// point's value, after the last the last one's; a curve without points is
// 1 everywhere.
//
// Text form, as stored under the "Envelope" key: "x:y" pairs separated by
// commas, x rising (equal x allowed for a step), e.g. "0:1, 0.5:0, 1:1".

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

class MInterpolator {
 public:
  struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
  };

  MInterpolator() = default;
  // Points in order of x; false (nothing kept) when x falls somewhere.
  [[nodiscard]] bool setPoints(std::vector<Point> points);
  const std::vector<Point>& points() const { return points_; }

  double valueAt(double x) const;

  // Reads the text form; nullopt for a malformed text or falling x.
  static std::optional<MInterpolator> parse(std::string_view text);
  std::string toText() const;

 private:
  std::vector<Point> points_;
};

}  // namespace vantor
