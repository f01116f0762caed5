#include "benchmarks/ratio_table.h"
#include "benchmarks/saved_results.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

using namespace tav3d::benchmarks;

namespace
{

/// One repetition as Google Benchmark writes it.
std::string runJson(const std::string& name, double cpuTime, const std::string& unit = "ms", const std::string& more = "")
{
    std::ostringstream run;
    run << R"({"name": ")" << name << R"(", "family_index": 0, "per_family_instance_index": 0, "run_name": ")" << name
        << R"(", "run_type": "iteration", "repetitions": 3, "repetition_index": 0, "threads": 1, "iterations": 7, "real_time": )"
        << 10 * cpuTime << R"(, "cpu_time": )" << cpuTime << R"(, "time_unit": ")" << unit << '"' << more << "}";
    return run.str();
}

std::vector<Measurement> read(const std::string& json)
{
    std::istringstream stream(json);
    return readMeasurements(stream);
}

std::vector<Measurement> measured(const std::vector<std::string>& runs)
{
    std::string json = R"({"context": {"num_cpus": 2}, "benchmarks": [)";
    for (std::size_t i = 0; i < runs.size(); ++i)
        json.append(i == 0 ? "" : ",\n").append(runs[i]);
    return read(json + "]}");
}

/// The cells of the line that begins with these cells; nothing when there is none.
std::vector<std::string> cells(const std::string& tables, const std::vector<std::string>& first)
{
    std::istringstream lines(tables);
    for (std::string line; std::getline(lines, line);)
    {
        std::vector<std::string> row;
        std::istringstream parts(line);
        std::string cell;
        std::getline(parts, cell, '|');
        while (std::getline(parts, cell, '|'))
        {
            cell.erase(0, std::min(cell.find_first_not_of(' '), cell.size()));
            cell.erase(cell.find_last_not_of(' ') + 1);
            row.push_back(cell);
        }
        if (row.size() >= first.size() && std::equal(first.begin(), first.end(), row.begin()))
            return row;
    }
    return {};
}

using Cells = std::vector<std::string>;

constexpr RatioTarget ratios[] = {
    {"solve", "ours", "plain", 0, 5.0}, {"solve", "ours", "eigen", 0, 2.0}, {"sort", "ours", "peer", 1000, 1.0}};
constexpr GrowthTarget growth[] = {{"sort", 1.15}};
constexpr CounterTarget counters[] = {{"solve", "allocations", 0.0}};
constexpr Targets targets{ratios, growth, counters};

std::string tablesOf(const std::vector<std::string>& runs)
{
    return ratioTables(summarize(measured(runs)), targets);
}

} // namespace

TEST(BenchmarkName, row_form_and_number_are_read_and_what_the_library_appends_is_not)
{
    const BenchmarkName plain = parseName("solve/plain");
    EXPECT_EQ(plain.row, "solve");
    EXPECT_EQ(plain.form, "plain");
    EXPECT_EQ(plain.n, 0);
    EXPECT_FALSE(plain.isRealTime);

    const BenchmarkName timed = parseName("sort/ours_sse2/1000/iterations:3/real_time");
    EXPECT_EQ(timed.form, "ours_sse2");
    EXPECT_EQ(timed.n, 1000);
    EXPECT_TRUE(timed.isRealTime);

    EXPECT_EQ(parseName("alone").form, "");
}

TEST(SavedResults, processor_time_counts_and_time_by_the_clock_where_the_name_says_so)
{
    const auto all = measured({runJson("solve/ours", 2.0, "us"), runJson("solve/plain/real_time", 2.0, "ms")});
    ASSERT_EQ(all.size(), 2u);
    EXPECT_DOUBLE_EQ(all[0].seconds, 2.0e-6);
    EXPECT_DOUBLE_EQ(all[1].seconds, 20.0e-3);
}

TEST(SavedResults, aggregates_and_failed_runs_are_passed_over)
{
    std::string aggregate = runJson("solve/ours", 3.0);
    aggregate.replace(aggregate.find("iteration\""), 10, "aggregate\"");
    const auto all = measured({runJson("solve/ours", 2.0), aggregate, runJson("solve/plain", 0.0, "ms", R"(, "error_occurred": true)")});
    ASSERT_EQ(all.size(), 1u);
    EXPECT_DOUBLE_EQ(all[0].seconds, 2.0e-3);
}

TEST(SavedResults, text_that_is_no_measurement_is_refused)
{
    EXPECT_THROW((void)read("{"), std::runtime_error);
    EXPECT_THROW((void)read("{}"), std::runtime_error);
    EXPECT_THROW((void)measured({runJson("solve/ours", 1.0, "weeks")}), std::runtime_error);
}

TEST(SavedResults, a_row_measured_again_takes_the_place_of_the_old_one_whole)
{
    const auto old = measured({runJson("solve/ours", 1.0), runJson("solve/plain", 9.0), runJson("sort/ours", 4.0)});
    const auto merged = withRowsReplaced(old, measured({runJson("solve/ours", 2.0), runJson("load/ours", 5.0)}));
    ASSERT_EQ(merged.size(), 3u); // without the old solve/plain
    EXPECT_EQ(merged[0].name.row, "solve");
    EXPECT_DOUBLE_EQ(merged[0].seconds, 2.0e-3);
    EXPECT_EQ(merged[1].name.row, "sort");
    EXPECT_EQ(merged[2].name.row, "load");
}

TEST(Figure, repetitions_give_minimum_and_median_of_an_iteration_or_of_an_item)
{
    const auto figures =
        summarize(measured({runJson("solve/ours", 3.0), runJson("solve/each", 8.0, "ms", R"(, "items_per_second": 1000.0)"),
                            runJson("solve/ours", 1.0), runJson("solve/ours", 2.0), runJson("solve/ours", 8.0)}));
    ASSERT_EQ(figures.size(), 2u);
    EXPECT_EQ(figures[0].repetitions, 4u);
    EXPECT_DOUBLE_EQ(figures[0].minimum, 1.0e-3);
    EXPECT_DOUBLE_EQ(figures[0].median, 2.5e-3);
    EXPECT_FALSE(figures[0].isPerItem);
    EXPECT_TRUE(figures[1].isPerItem);
    EXPECT_DOUBLE_EQ(figures[1].minimum, 1.0e-3);
}

TEST(Figure, times_are_written_with_three_digits_and_a_unit)
{
    EXPECT_EQ(timeText(1.234e-9), "1.23 ns");
    EXPECT_EQ(timeText(98.76e-6), "98.8 µs");
    EXPECT_EQ(timeText(999.4e-3), "999 ms");
    EXPECT_EQ(timeText(999.6e-3), "1.00 s");
    EXPECT_EQ(timeText(120.0), "120 s");
}

TEST(GrowthExponent, is_the_slope_of_log_time_over_log_n)
{
    const TimeAt square[] = {{10, 3e2}, {100, 3e4}, {1000, 3e6}};
    EXPECT_NEAR(growthExponent(square).value(), 2.0, 1e-12);
    const TimeAt bent[] = {
        {1, 1.0}, {10, 1.0}, {100, 100.0}}; // slopes 0 and 2; the least squares of three equidistant points ignore the middle one
    EXPECT_NEAR(growthExponent(bent).value(), 1.0, 1e-12);
}

TEST(GrowthExponent, needs_two_different_n)
{
    EXPECT_FALSE(growthExponent({}).has_value());
    const TimeAt same[] = {{10, 1.0}, {10, 2.0}};
    EXPECT_FALSE(growthExponent(same).has_value());
}

TEST(RatioTables, a_ratio_is_the_peers_shortest_time_over_ours_and_is_held_against_its_target)
{
    const std::string tables = tablesOf({runJson("solve/eigen", 1.5), runJson("solve/ours", 1.0), runJson("solve/plain", 6.0),
                                         runJson("solve/ours", 2.0), runJson("solve/plain", 9.0)});
    EXPECT_EQ(cells(tables, {"solve", "", "ours", "1.00 ms", "plain"}),
              (Cells{"solve", "", "ours", "1.00 ms", "plain", "6.00 ms", "× 6.00", "× 5.00", "≥ 5", "yes"}));
    EXPECT_EQ(cells(tables, {"solve", "", "ours", "1.00 ms", "eigen"}),
              (Cells{"solve", "", "ours", "1.00 ms", "eigen", "1.50 ms", "× 1.50", "× 1.00", "≥ 2", "**no**"}));
}

TEST(RatioTables, a_target_without_its_peer_is_shown_as_not_measured)
{
    const std::string tables = tablesOf({runJson("solve/ours", 1.0), runJson("solve/plain", 6.0)});
    EXPECT_EQ(cells(tables, {"solve", "", "ours", "", "eigen"}),
              (Cells{"solve", "", "ours", "", "eigen", "", "", "", "≥ 2", "not measured"}));
    EXPECT_NE(tables.find("Rows with targets that were not measured: sort."), std::string::npos) << tables;
}

TEST(RatioTables, the_number_of_things_nearest_to_the_targets_counts_among_those_that_both_have)
{
    const std::string tables =
        tablesOf({runJson("sort/ours/100", 1.0), runJson("sort/peer/100", 1.0), runJson("sort/ours/1024", 10.0),
                  runJson("sort/peer/1024", 20.0), runJson("sort/ours/9000", 90.0), runJson("sort/peer/9000", 45.0)});
    EXPECT_EQ(cells(tables, {"sort", "1,024", "ours"}),
              (Cells{"sort", "1,024", "ours", "10.0 ms", "peer", "20.0 ms", "× 2.00", "× 2.00", "≥ 1", "yes"}));
    EXPECT_EQ(cells(tables, {"sort", "9,000"}), Cells{});
}

TEST(RatioTables, a_row_with_nothing_to_compare_shows_its_time)
{
    EXPECT_EQ(cells(tablesOf({runJson("load/ours", 2.0)}), {"load"}), (Cells{"load", "", "ours", "2.00 ms", "", "", "", "", "", ""}));
}

TEST(RatioTables, a_variant_of_ours_is_compared_with_the_plain_form_and_with_peers_where_there_is_none)
{
    const std::string withPlain = tablesOf({runJson("sort/ours_sse2", 2.0), runJson("sort/plain", 6.0), runJson("sort/boost", 4.0)});
    EXPECT_EQ(cells(withPlain, {"sort", "", "ours_sse2", "2.00 ms", "plain"}).size(), 10u) << withPlain;
    EXPECT_TRUE(cells(withPlain, {"sort", "", "ours_sse2", "2.00 ms", "boost"}).empty()) << withPlain;
    const std::string without = tablesOf({runJson("sort/ours_sse2", 2.0), runJson("sort/boost", 4.0)});
    EXPECT_EQ(cells(without, {"sort", "", "ours_sse2", "2.00 ms", "boost"}).size(), 10u) << without;
}

TEST(RatioTables, an_item_is_not_compared_with_an_iteration)
{
    const std::string tables = tablesOf({runJson("solve/ours", 1.0, "ms", R"(, "items_per_second": 1e6)"), runJson("solve/plain", 6.0)});
    const Cells line = cells(tables, {"solve", "", "ours", "", "plain"});
    ASSERT_EQ(line.size(), 10u) << tables;
    EXPECT_EQ(line[6], "");
    EXPECT_EQ(line[9], "not comparable: only one counts items");
}

TEST(RatioTables, growth_over_the_target_is_shown_as_such)
{
    const std::string tables = tablesOf(
        {runJson("sort/ours/1000", 1.0), runJson("sort/ours/100", 0.01), runJson("sort/peer/100", 0.1), runJson("sort/peer/1000", 1.0)});
    EXPECT_EQ(cells(tables, {"sort", "ours", "100: 10.0 µs, 1,000: 1.00 ms"}),
              (Cells{"sort", "ours", "100: 10.0 µs, 1,000: 1.00 ms", "2.00", "≤ 1.15", "**no**"}));
    EXPECT_EQ(cells(tables, {"sort", "peer", "100: 100 µs, 1,000: 1.00 ms"}),
              (Cells{"sort", "peer", "100: 100 µs, 1,000: 1.00 ms", "1.00", "", ""}));
}

TEST(RatioTables, growth_of_times_per_item_is_that_of_n_items)
{
    const std::string each = R"(, "items_per_second": 1000.0)";
    const std::string tables = tablesOf({runJson("sort/ours/10", 1.0, "ms", each), runJson("sort/ours/1000", 1.0, "ms", each)});
    EXPECT_EQ(cells(tables, {"sort", "ours", "10: 10.0 ms, 1,000: 1.00 s"}),
              (Cells{"sort", "ours", "10: 10.0 ms, 1,000: 1.00 s", "1.00", "≤ 1.15", "yes"}));
}

TEST(RatioTables, a_counter_is_held_against_its_target)
{
    const std::string some = R"(, "allocations": 0.5)", none = R"(, "allocations": 0)";
    EXPECT_EQ(cells(tablesOf({runJson("solve/ours", 1.0, "ms", some)}), {"solve", "", "allocations"}),
              (Cells{"solve", "", "allocations", "0.5", "≤ 0", "**no**"}));
    EXPECT_EQ(cells(tablesOf({runJson("solve/ours", 1.0, "ms", none)}), {"solve", "", "allocations"}),
              (Cells{"solve", "", "allocations", "0", "≤ 0", "yes"}));
    EXPECT_EQ(cells(tablesOf({runJson("solve/ours", 1.0)}), {"solve", "", "allocations"}),
              (Cells{"solve", "", "allocations", "", "≤ 0", "not measured"}));
}
