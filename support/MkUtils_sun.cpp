// Sunrise and sunset of MkUtils: position of the sun after Meeus, "Astronomical Algorithms", chapter 25 (low
// accuracy), with the equation of time of chapter 28.
#include "support/MkUtils.h"

#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadians = kPi / 180;
constexpr double kSecondsPerDay = 86400;
constexpr double kSecondsPerDegree = 240;        // of the earth's turn
constexpr double kHorizon_degrees = -50.0 / 60;  // refraction 34', half a sun 16'
constexpr double kJulianDay2000 = 2451545.0;     // noon of 2000-01-01
constexpr double kDaysPerCentury = 36525;
constexpr int kFirstYear = 1800;  // the series of the sun's position drift off outside
constexpr int kLastYear = 2200;
constexpr int kRefinements = 3;  // the sun moves on: each round takes its position at the time found

/// Days from 2000-01-01 12:00 UTC to 00:00 UTC of a date of the Gregorian calendar.
double DaysSince2000(int year, int month, int day) {
    // March begins the year, so that the leap day is its last one.
    const int64_t y = month > 2 ? year : int64_t{year} - 1;
    const int months_since_march = (month + 9) % 12;
    const int days_of_months = (153 * months_since_march + 2) / 5;  // 31, 30, 31, 30, 31, and again
    const double leap_days = std::floor(y / 4.0) - std::floor(y / 100.0) + std::floor(y / 400.0);
    const double julian_day = 365.0 * y + leap_days + days_of_months + day + 1721118.5;
    return julian_day - kJulianDay2000;
}

struct SunPosition {
    double declination;               // radians
    double equation_of_time_seconds;  // by which a sundial is ahead of the clock
};

SunPosition PositionOfSun(double days) {
    const double t = days / kDaysPerCentury;
    const double mean_longitude = std::fmod(280.46646 + t * (36000.76983 + t * 0.0003032), 360) * kRadians;
    const double mean_anomaly = std::fmod(357.52911 + t * (35999.05029 - t * 0.0001537), 360) * kRadians;
    const double eccentricity = 0.016708634 - t * (0.000042037 + t * 0.0000001267);
    const double centre =
        ((1.914602 - t * (0.004817 + t * 0.000014)) * std::sin(mean_anomaly) +
         (0.019993 - t * 0.000101) * std::sin(2 * mean_anomaly) + 0.000289 * std::sin(3 * mean_anomaly)) *
        kRadians;
    const double moon_node = (125.04 - 1934.136 * t) * kRadians;
    const double longitude = mean_longitude + centre - (0.00569 + 0.00478 * std::sin(moon_node)) * kRadians;
    const double obliquity = (23.43929111 - 0.0130041667 * t + 0.00256 * std::cos(moon_node)) * kRadians;

    const double y = std::pow(std::tan(obliquity / 2), 2);
    const double equation_of_time =
        y * std::sin(2 * mean_longitude) - 2 * eccentricity * std::sin(mean_anomaly) +
        4 * eccentricity * y * std::sin(mean_anomaly) * std::cos(2 * mean_longitude) -
        y * y / 2 * std::sin(4 * mean_longitude) -
        1.25 * eccentricity * eccentricity * std::sin(2 * mean_anomaly);
    return {std::asin(std::sin(obliquity) * std::sin(longitude)),
            equation_of_time / kRadians * kSecondsPerDegree};
}

/// Cosine of the angle by which the earth turns between noon and the event; outside -1 to 1 there is none.
double CosineOfHalfDay(double declination, double latitude) {
    return (std::sin(kHorizon_degrees * kRadians) - std::sin(latitude) * std::sin(declination)) /
           (std::cos(latitude) * std::cos(declination));
}

/// Finds the event before noon (`direction` -1) or after it (1), in seconds since `midnight_days`.
SunDay FindEvent(double midnight_days, double latitude_degrees, double longitude_degrees, int direction,
                 int32_t& event_seconds) {
    const double mean_noon_seconds = kSecondsPerDay / 2 - longitude_degrees * kSecondsPerDegree;
    double seconds = mean_noon_seconds;
    for (int round = 0; round < kRefinements; ++round) {
        const SunPosition sun = PositionOfSun(midnight_days + seconds / kSecondsPerDay);
        const double cosine = CosineOfHalfDay(sun.declination, latitude_degrees * kRadians);
        if (cosine > 1) return SunDay::kNeverRises;
        if (cosine < -1) return SunDay::kNeverSets;
        const double half_day_seconds = std::acos(cosine) / kRadians * kSecondsPerDegree;
        seconds = mean_noon_seconds - sun.equation_of_time_seconds + direction * half_day_seconds;
    }
    event_seconds = static_cast<int32_t>(std::lround(seconds));
    return SunDay::kNormal;
}

bool IsValid(int year, int month, int day, double latitude_degrees, double longitude_degrees) {
    return year >= kFirstYear && year <= kLastYear && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
           std::fabs(latitude_degrees) <= 90 && std::fabs(longitude_degrees) <= 180;  // a NaN fails too
}

}  // namespace

SunTimes GetSunTimes(int year, int month, int day, double latitude_degrees, double longitude_degrees) {
    if (!IsValid(year, month, day, latitude_degrees, longitude_degrees)) return {SunDay::kUnknown, 0, 0};
    const double midnight_days = DaysSince2000(year, month, day);
    SunTimes times{};
    times.day = FindEvent(midnight_days, latitude_degrees, longitude_degrees, -1, times.sunrise_seconds);
    if (times.day != SunDay::kNormal) return times;
    times.day = FindEvent(midnight_days, latitude_degrees, longitude_degrees, 1, times.sunset_seconds);
    if (times.day != SunDay::kNormal) times.sunrise_seconds = times.sunset_seconds = 0;
    return times;
}
