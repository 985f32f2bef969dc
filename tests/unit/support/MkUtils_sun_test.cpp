#include "support/MkUtils.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

constexpr int kTolerance_seconds = 60;

int32_t At(int hours, int minutes, int seconds) {
    return hours * 3600 + minutes * 60 + seconds;
}

// I. Reda, A. Andreas, "Solar Position Algorithm for Solar Radiation Applications", NREL/TP-560-34302, with
// the program that comes with the report: Golden, Colorado (39.742476 N, 105.1786 W), 17 October 2003, time
// zone -7. It prints sunrise 06:12:43 and sunset 17:20:19 local time. Its events belong to the UTC day of 17
// October, on which the sun sets at 00:20:19 UTC: that is the evening of the 16th in Golden.
TEST(MkUtilsSun, GoldenColoradoAsTheSolarPositionAlgorithmPrintsIt) {
    const SunTimes on_17th = GetSunTimes(2003, 10, 17, 39.742476, -105.1786);
    ASSERT_EQ(SunDay::kNormal, on_17th.day);
    EXPECT_NEAR(At(7 + 6, 12, 43), on_17th.sunrise_seconds, 5);
    const SunTimes on_16th = GetSunTimes(2003, 10, 16, 39.742476, -105.1786);
    ASSERT_EQ(SunDay::kNormal, on_16th.day);
    EXPECT_NEAR(At(7 + 17, 20, 19), on_16th.sunset_seconds, 5);
}

// E. Williams, "Sunrise/Sunset Algorithm Example", after "Almanac for Computers", Nautical Almanac Office,
// United States Naval Observatory, 1990: Wayne, New Jersey (40.9 N, 74.3 W), 25 June 1990. Sunrise is at 5:26
// local time, UTC - 4.
TEST(MkUtilsSun, WayneNewJerseyAsThePublishedExampleWorksItOut) {
    const SunTimes times = GetSunTimes(1990, 6, 25, 40.9, -74.3);
    ASSERT_EQ(SunDay::kNormal, times.day);
    EXPECT_NEAR(At(4 + 5, 26, 0), times.sunrise_seconds, kTolerance_seconds);
}

// By geometry: at 69.65 N (Tromso) the sun's upper limb stays up while its declination is above 90 - 69.65 -
// 0.83 = 19.5 degrees, and down below -21.2. The Astronomical Almanac has the sun at 17.6 degrees on 10
// May, 20.9 on 25 May, 23.4 on 21 June, -19.7 on 20 November and -23.4 on 21 December.
TEST(MkUtilsSun, TromsoHasMidnightSunAndPolarNight) {
    EXPECT_EQ(SunDay::kNeverSets, GetSunTimes(2023, 6, 21, 69.65, 18.96).day);
    EXPECT_EQ(SunDay::kNeverSets, GetSunTimes(2023, 5, 25, 69.65, 18.96).day);
    EXPECT_EQ(SunDay::kNormal, GetSunTimes(2023, 5, 10, 69.65, 18.96).day);
    EXPECT_EQ(SunDay::kNeverRises, GetSunTimes(2023, 12, 21, 69.65, 18.96).day);
    EXPECT_EQ(SunDay::kNormal, GetSunTimes(2023, 11, 20, 69.65, 18.96).day);
}

// The mean equinoxes of March after Meeus, "Astronomical Algorithms", chapter 27. By definition the sun then
// stands over the equator, and at 60 degrees the day has 12 hours and the 13.3 minutes of half width and
// refraction.
TEST(MkUtilsSun, EquinoxIsWhereItBelongsInTheFirstYearAndInTheLast) {
    const struct {
        int year;
        double days_after_noon;  // of 20 March
    } cases[] = {{1800, 0.337}, {2200, 0.287}};
    for (const auto& test : cases) {
        int32_t length_seconds[2];
        for (const int day : {20, 21}) {
            const SunTimes times = GetSunTimes(test.year, 3, day, 60, 0);
            length_seconds[day - 20] = times.sunset_seconds - times.sunrise_seconds;
        }
        const double at_equinox_seconds =
            length_seconds[0] + test.days_after_noon * (length_seconds[1] - length_seconds[0]);
        EXPECT_NEAR(At(12, 13, 20), at_equinox_seconds, 2 * kTolerance_seconds) << test.year;
    }
}

// At midsummer it stands as high as the axis leans: by the almanacs 23.465 degrees in 1800 and 23.413 in
// 2200.
TEST(MkUtilsSun, MidsummerIsAsLongAsTheLeanOfTheAxisMakesIt) {
    const double degree = std::acos(-1) / 180;
    for (const auto& [year, lean_degrees] : {std::pair{1800, 23.465}, std::pair{2200, 23.413}}) {
        const SunTimes times = GetSunTimes(year, 6, 21, 60, 0);
        const double lean = lean_degrees * degree;
        const double half_day =
            std::acos((std::sin(-50.0 / 60 * degree) - std::sin(60 * degree) * std::sin(lean)) /
                      (std::cos(60 * degree) * std::cos(lean)));
        EXPECT_NEAR(half_day / degree * 2 * 240, times.sunset_seconds - times.sunrise_seconds,
                    2 * kTolerance_seconds)
            << year;
    }
}

// North of the polar circle the midnight sun begins with a day on which the sun rises and doesn't set.
TEST(MkUtilsSun, DayOnWhichTheSunRisesAndStaysUpHasNoTimes) {
    const SunTimes times = GetSunTimes(2000, 4, 28, 74.75, 0);
    EXPECT_EQ(SunDay::kNeverSets, times.day);
    EXPECT_EQ(0, times.sunrise_seconds);
    EXPECT_EQ(0, times.sunset_seconds);
}

// By definition: at the equator the day is 12 hours and the 6.7 minutes of the sun's half width and
// refraction.
TEST(MkUtilsSun, DayAtTheEquatorIsAboutTwelveHoursAllYear) {
    for (int month = 1; month <= 12; ++month) {
        const SunTimes times = GetSunTimes(2024, month, 21, 0, 0);
        EXPECT_NEAR(At(12, 7, 0), times.sunset_seconds - times.sunrise_seconds, kTolerance_seconds) << month;
    }
}

// The equation of time is zero about 15 April, 13 June, 1 September and 25 December.
TEST(MkUtilsSun, NoonIsAtTwelveWhenTheEquationOfTimeIsZero) {
    const int dates[][2] = {{4, 15}, {6, 13}, {9, 1}, {12, 25}};
    for (const auto& date : dates) {
        const SunTimes times = GetSunTimes(2024, date[0], date[1], 0, 0);
        EXPECT_NEAR(At(12, 0, 0), (times.sunrise_seconds + times.sunset_seconds) / 2.0, kTolerance_seconds);
    }
}

TEST(MkUtilsSun, TimesFarFromGreenwichLieOutsideTheDay) {
    EXPECT_LT(GetSunTimes(2024, 3, 20, -33.87, 151.21).sunrise_seconds, 0);
    EXPECT_GT(GetSunTimes(2024, 3, 20, 37.77, -122.42).sunset_seconds, 86400);
}

TEST(MkUtilsSun, DatesRunOnOverMonthsAndLeapDays) {
    const int dates[][3] = {{2024, 2, 28}, {2024, 2, 29}, {2024, 3, 1}, {2024, 3, 2}};
    int32_t former = GetSunTimes(2024, 2, 27, 50, 0).sunrise_seconds;
    for (const auto& date : dates) {
        const int32_t sunrise = GetSunTimes(date[0], date[1], date[2], 50, 0).sunrise_seconds;
        EXPECT_NEAR(-122, sunrise - former, 10);  // spring: about two minutes earlier a day
        former = sunrise;
    }
}

// A day that is left out or counted twice shows as a jump.
TEST(MkUtilsSun, EachDayFollowsTheFormerSmoothlyAllYear) {
    for (const int year : {2023, 2024}) {
        const int days_of_months[] = {31, year % 4 == 0 ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        int32_t former = 0;
        int32_t former_step = 0;
        int count = 0;
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= days_of_months[month - 1]; ++day) {
                const SunTimes times = GetSunTimes(year, month, day, 60, 0);
                ASSERT_EQ(SunDay::kNormal, times.day);
                const int32_t step = times.sunset_seconds - times.sunrise_seconds - former;
                if (count >= 2) {
                    EXPECT_NEAR(former_step, step, 15) << year << "-" << month << "-" << day;
                }
                former = times.sunset_seconds - times.sunrise_seconds;
                former_step = step;
                ++count;
            }
        }
    }
}

TEST(MkUtilsSun, YearsFrom1800To2200AreKnown) {
    for (const int year : {1800, 1801, 2199, 2200}) {
        EXPECT_EQ(SunDay::kNormal, GetSunTimes(year, 12, 31, 0, 0).day) << year;
    }
    for (const int year : {1799, 2201}) {
        EXPECT_EQ(SunDay::kUnknown, GetSunTimes(year, 6, 15, 0, 0).day) << year;
    }
}

TEST(MkUtilsSun, NoSuchPlaceOrDateIsUnknown) {
    const SunTimes unknown = GetSunTimes(2024, 0, 1, 0, 0);
    EXPECT_EQ(SunDay::kUnknown, unknown.day);
    EXPECT_EQ(0, unknown.sunrise_seconds);
    EXPECT_EQ(0, unknown.sunset_seconds);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 13, 1, 0, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 0, 0, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 32, 0, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(INT32_MAX, 1, 1, 0, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(INT32_MIN, 1, 1, 0, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 1, 90.1, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 1, 0, 181).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 1, NAN, 0).day);
    EXPECT_EQ(SunDay::kUnknown, GetSunTimes(2024, 1, 1, 0, INFINITY).day);
}

TEST(MkUtilsSun, PolesAreSafe) {
    for (int month = 1; month <= 12; ++month) {
        EXPECT_NE(SunDay::kUnknown, GetSunTimes(2024, month, 21, 90, 0).day);
        EXPECT_NE(SunDay::kUnknown, GetSunTimes(2024, month, 21, -90, 180).day);
    }
    EXPECT_EQ(SunDay::kNeverSets, GetSunTimes(2024, 6, 21, 90, 0).day);
    EXPECT_EQ(SunDay::kNeverRises, GetSunTimes(2024, 6, 21, -90, 0).day);
}

}  // namespace
