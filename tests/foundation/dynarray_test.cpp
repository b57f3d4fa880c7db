// Unit tests of the array store: growth rule, set and resize at their edges, searches and the log lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

#include "foundation/console.h"
#include "foundation/dynarray.h"

using namespace qv;

namespace {
std::string read_file(const std::string& path) {
  std::ifstream f(path);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}
// Runs `f` with a log open and gives what reached the log.
template <typename F> std::string logged(F f) {
  std::string path = (std::filesystem::temp_directory_path() / ("qv_dynarray_test-" + std::to_string(::getpid()) + ".log")).string();
  bool was = console::consoleon;
  console::consoleon = false;
  console::log_open(path);
  f();
  console::log_close();
  console::consoleon = was;
  std::string out = read_file(path);
  std::filesystem::remove(path);
  return out;
}
template <typename F> std::string printed(F f) {
  testing::internal::CaptureStdout();
  f();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(dynarray, growth_step_changes_at_its_byte_boundaries) {
  struct row { std::int64_t n, size, step; };
  const row rows[] = {
      {1048576, 1, 1048576},          {1048577, 1, 524288},            // 1 MiB
      {10485760, 1, 5242880},         {10485761, 1, 2621440},          // 10 MiB
      {106954752, 1, 26738688},       {106954753, 1, 13369344},
      {134217728, 8, 16777216},       {1073741825, 1, 33554432},       // 1 GiB, one byte above
      {10737418240, 1, 335544320},    {10737418241, 1, 167772160},     // 10 GiB: no n/16 stage
  };
  for (const row& r : rows) EXPECT_EQ(dyn::growth_step(r.n, r.size), r.step) << r.n << " x " << r.size;
}

TEST(dynarray, first_spare_room_is_65536_bytes_worth_or_the_element_size) {
  dynarray<std::int64_t> n;
  dynarray<std::uint8_t> b;
  dynarray<shorttext> s;
  dynarray<num::hyper> h;
  dyn::dynamic_new(n);
  dyn::dynamic_new(b);
  dyn::dynamic_new(s);
  dyn::dynamic_new(h);
  EXPECT_EQ(n.capacity, 8192);
  EXPECT_EQ(b.capacity, 65536);
  EXPECT_EQ(s.capacity, 128);
  EXPECT_EQ(h.capacity, 2048);
  EXPECT_EQ(n.spare, n.capacity);
  EXPECT_EQ(n.length, 0);
  EXPECT_EQ(n.tag, 2);
  EXPECT_EQ(s.tag, 241);
}

TEST(dynarray, get_on_zero_record_or_out_of_range_gives_the_default) {
  dynarray<double> a;
  a.defaultvalue = 7.5;
  EXPECT_EQ(dyn::get(a, 1), 7.5);
  EXPECT_FALSE(dyn::initialised(a));
  dyn::static_new(a, 3);
  EXPECT_EQ(dyn::get(a, 0), 7.5);
  EXPECT_EQ(dyn::get(a, 4), 7.5);
  EXPECT_EQ(dyn::get(a, 3), 0.0);
}

TEST(dynarray, set_far_past_the_length_grows_a_dynamic_array_with_zeros_between) {
  dynarray<std::int64_t> a;
  dyn::dynamic_new(a);
  dyn::append(a, 5);
  dyn::set(a, a.length + 1000, std::int64_t(9));
  EXPECT_EQ(a.length, 1001);
  EXPECT_EQ(dyn::get(a, 1), 5);
  for (std::int64_t i = 2; i <= 1000; ++i) ASSERT_EQ(dyn::get(a, i), 0) << i;
  EXPECT_EQ(dyn::get(a, 1001), 9);
  EXPECT_EQ(a.capacity - a.spare, a.length);
}

TEST(dynarray, set_past_the_length_of_a_static_array_does_nothing_and_says_nothing) {
  dynarray<std::int64_t> a;
  dyn::static_new(a, 4);
  std::string out = printed([&] { dyn::set(a, 5, std::int64_t(1)); dyn::set(a, 0, std::int64_t(1)); });
  EXPECT_EQ(out, "");
  EXPECT_EQ(a.length, 4);
  EXPECT_EQ(a.capacity, 4);
}

TEST(dynarray, set_at_exactly_the_capacity_goes_through_resize_one_below_does_not) {
  dynarray<std::int64_t> a;
  dyn::dynamic_new(a);
  std::int64_t cap = a.capacity;
  dyn::set(a, cap - 1, std::int64_t(1));
  EXPECT_EQ(a.capacity, cap);
  EXPECT_EQ(a.length, cap - 1);
  EXPECT_EQ(a.spare, 1);
  dyn::set(a, cap, std::int64_t(2));
  EXPECT_EQ(a.length, cap);
  EXPECT_EQ(a.capacity, 2 * cap);   // below 1 MiB the step is n
  EXPECT_EQ(dyn::get(a, cap - 1), 1);
  EXPECT_EQ(dyn::get(a, cap), 2);
}

TEST(dynarray, shrink_then_regrow_within_capacity_shows_zeros) {
  dynarray<double> a;
  dyn::dynamic_new(a);
  for (int i = 1; i <= 10; ++i) dyn::append(a, double(i));
  dyn::resize(a, 3);
  EXPECT_EQ(a.length, 3);
  dyn::resize(a, 10);
  EXPECT_EQ(dyn::get(a, 3), 3.0);
  for (int i = 4; i <= 10; ++i) EXPECT_EQ(dyn::get(a, i), 0.0) << i;
  dyn::resize(a, 2);
  dyn::set(a, 5, 1.0);
  EXPECT_EQ(dyn::get(a, 3), 0.0);
  EXPECT_EQ(dyn::get(a, 4), 0.0);
}

TEST(dynarray, resize_to_zero_keeps_a_dynamic_block_and_releases_a_static_one) {
  dynarray<std::int64_t> d, s;
  dyn::dynamic_new(d);
  dyn::append(d, std::int64_t(3));
  dyn::resize(d, 0);
  EXPECT_TRUE(dyn::initialised(d));
  EXPECT_EQ(d.length, 0);
  EXPECT_EQ(d.spare, d.capacity);
  EXPECT_TRUE(d.sorted);
  dyn::append(d, std::int64_t(4));
  EXPECT_EQ(dyn::get(d, 1), 4);
  dyn::static_new(s, 5);
  dyn::resize(s, 0);
  EXPECT_FALSE(dyn::initialised(s));
  EXPECT_EQ(s.capacity, 0);
  EXPECT_EQ(s.length, 0);
}

TEST(dynarray, static_resize_keeps_the_common_part_and_zeroes_the_rest) {
  dynarray<std::uint16_t> a;
  dyn::static_new(a, 3);
  for (int i = 1; i <= 3; ++i) dyn::set(a, i, std::uint16_t(i * 10));
  dyn::resize(a, 5);
  EXPECT_EQ(a.capacity, 5);
  EXPECT_EQ(a.spare, 0);
  EXPECT_EQ(dyn::get(a, 3), 30);
  EXPECT_EQ(dyn::get(a, 4), 0);
  dyn::resize(a, 2);
  EXPECT_EQ(dyn::get(a, 2), 20);
  EXPECT_EQ(dyn::get(a, 3), 0);
}

TEST(dynarray, free_twice_and_moved_from_records_are_harmless) {
  dynarray<double> a;
  dyn::static_new(a, 10);
  dynarray<double> b = std::move(a);
  EXPECT_EQ(b.length, 10);
  EXPECT_EQ(a.length, 0);
  dyn::free(a);
  dyn::free(b);
  dyn::free(b);
  EXPECT_EQ(b.check, 1u);
  EXPECT_FALSE(dyn::initialised(b));
  EXPECT_EQ(dyn::get(b, 1), 0.0);
}

TEST(dynarray, searches_use_binary_search_once_sorted) {
  dynarray<std::int64_t> a;
  dyn::dynamic_new(a);
  for (std::int64_t v : {5, 1, 4, 1, 3}) dyn::append(a, v);
  EXPECT_FALSE(a.sorted);
  EXPECT_EQ(dyn::find_first(a, std::int64_t(1)), 2);
  EXPECT_EQ(dyn::find_last(a, std::int64_t(1), 5), 4);
  EXPECT_EQ(dyn::find_last(a, std::int64_t(1), 3), 2);
  EXPECT_EQ(dyn::find_atleast(a, std::int64_t(4)), 1);   // unsorted: first element at or above
  EXPECT_EQ(dyn::count(a, std::int64_t(1)), 2);
  EXPECT_EQ(dyn::find_first(a, std::int64_t(2)), 0);
  dyn::sort(a);
  EXPECT_TRUE(a.sorted);
  struct row { std::int64_t value, first, atleast; };
  const row rows[] = {{1, 1, 1}, {2, 0, 3}, {3, 3, 3}, {5, 5, 5}, {6, 0, 0}, {0, 0, 1}};
  for (const row& r : rows) {
    EXPECT_EQ(dyn::find_first(a, r.value), r.first) << r.value;
    EXPECT_EQ(dyn::find_atleast(a, r.value), r.atleast) << r.value;
  }
  dyn::set(a, 1, std::int64_t(1));
  EXPECT_FALSE(a.sorted);
}

TEST(dynarray, shorttext_family_grows_sorts_and_finds_from_the_end) {
  dynarray<shorttext> a;
  dyn::dynamic_new(a);
  for (int i = 0; i < 300; ++i) dyn::append(a, shorttext(text::ascii(std::to_string(i % 7))));
  EXPECT_EQ(a.length, 300);
  EXPECT_EQ(dyn::get(a, 300).str(), u"5");
  EXPECT_EQ(dyn::find_last(a, shorttext(u"6")), 294);
  EXPECT_EQ(dyn::count(a, shorttext(u"0")), 43);
  dyn::resize(a, 2);
  dyn::resize(a, 3);
  EXPECT_TRUE(dyn::get(a, 3).empty());
  dyn::set(a, 3, shorttext(u"10"));
  dyn::sort(a);   // shorter text first
  EXPECT_EQ(dyn::get(a, 1).str(), u"0");
  EXPECT_EQ(dyn::get(a, 3).str(), u"10");
  dynarray<shorttext> c = dyn::copy(a);
  EXPECT_EQ(dyn::get(c, 3).str(), u"10");
  EXPECT_EQ(dyn::get(a, 3).str(), u"10");
}

TEST(dynarray, bit_family_packs_eight_elements_a_byte) {
  dynarray<bool> a;
  dyn::static_new(a, 20);
  dyn::set(a, 1, true);
  dyn::set(a, 9, true);
  dyn::set(a, 20, true);
  EXPECT_EQ(a.data[0], 1);
  EXPECT_EQ(a.data[1], 1);
  EXPECT_TRUE(dyn::get(a, 20));
  EXPECT_FALSE(dyn::get(a, 19));
  dyn::resize(a, 9);
  dyn::resize(a, 20);
  EXPECT_TRUE(dyn::get(a, 9));
  EXPECT_FALSE(dyn::get(a, 20));
  EXPECT_EQ(dyn::count(a, true), 2);
  dynarray<bool> d;
  dyn::dynamic_new(d);
  for (int i = 1; i <= 12; ++i) dyn::append(d, i % 3 == 0);
  dyn::resize(d, 4);
  dyn::resize(d, 12);
  EXPECT_EQ(dyn::count(d, true), 1);
  dyn::sort(d);
  EXPECT_TRUE(dyn::get(d, 12));
  EXPECT_FALSE(dyn::get(d, 11));
}

TEST(dynarray, record_families_keep_a_running_minimum_and_maximum) {
  dynarray<num::vector> a;
  dyn::dynamic_new(a);
  dyn::append(a, num::vector{1, 5, -2});
  dyn::append(a, num::vector{3, -1, 0});
  EXPECT_TRUE(a.extras.minvalid);
  EXPECT_FALSE(num::notequal(a.extras.minimum, num::vector{1, -1, -2}));
  EXPECT_FALSE(num::notequal(a.extras.maximum, num::vector{3, 5, 0}));
}

TEST(dynarray, swap_needs_equal_element_size_and_length) {
  dynarray<double> a, b, c;
  dyn::static_new(a, 2);
  dyn::static_new(b, 2);
  dyn::static_new(c, 3);
  dyn::set(a, 1, 1.0);
  dyn::set(b, 1, 2.0);
  EXPECT_TRUE(dyn::swap(a, b));
  EXPECT_EQ(dyn::get(a, 1), 2.0);
  EXPECT_EQ(dyn::get(b, 1), 1.0);
  EXPECT_FALSE(dyn::swap(a, c));
}

TEST(dynarray, shuffle_keeps_the_elements) {
  dynarray<std::int64_t> a;
  dyn::dynamic_new(a);
  for (std::int64_t i = 1; i <= 50; ++i) dyn::append(a, i);
  dyn::shuffle(a);
  dyn::sort(a);
  for (std::int64_t i = 1; i <= 50; ++i) ASSERT_EQ(dyn::get(a, i), i);
}

TEST(dynarray, pointer_gives_the_element_address_or_null) {
  dynarray<std::uint16_t> a;
  dyn::static_new(a, 4);
  EXPECT_EQ(dyn::pointer(a, 2), reinterpret_cast<unsigned char*>(a.data + 1));
  EXPECT_EQ(dyn::pointer(a, 2, 1), reinterpret_cast<unsigned char*>(a.data + 1) + 1);
  EXPECT_EQ(dyn::pointer(a, 0), nullptr);
  EXPECT_EQ(dyn::pointer(a, 5), nullptr);
}

TEST(dynarray, allocation_failures_print_their_texts_and_leave_an_empty_array) {
  dynarray<double> a;
  std::string out = printed([&] { dyn::static_new(a, std::int64_t(1) << 50); });
  EXPECT_EQ(out, "  Wrong static allocation (Out of memory?)! Create empty field.\n");
  EXPECT_EQ(a.length, 0);
  EXPECT_EQ(a.capacity, 0);
  dynarray<double> d;
  dyn::dynamic_new(d);
  out = printed([&] { dyn::set(d, std::int64_t(1) << 50, 1.0); });
  EXPECT_EQ(out, "  Not enough Memory! Create empty field.\n");
  EXPECT_EQ(d.length, 0);
  EXPECT_EQ(dyn::get(d, 1), 0.0);
}

TEST(dynarray, log_lines_tell_allocation_growth_and_release) {
  std::string log = logged([] {
    dynarray<std::int64_t> a;
    dyn::dynamic_new(a);
    dyn::set(a, 8192, std::int64_t(1));
    dyn::free(a);
    dynarray<std::uint8_t> b;
    dyn::static_new(b, 100);
  });
  EXPECT_EQ(log,
            "  Allocate first dynamic : 64 K Bytes ((0 + 8192) * 8)\n"
            "  Deallocate : 64 K Bytes (8192 * 8)\n"
            "  Allocate dynamic : 128 K Bytes ((8192 + 8192) * 8)\n"
            "  Deallocate finaly : 128 K Bytes (16384 * 8)\n"
            "  Allocate first : 100 Bytes (100 * 1)\n"
            "  Deallocate finaly : 100 Bytes (100 * 1)\n");
}

TEST(dynarray, free_of_a_broken_record_logs_and_releases_nothing) {
  dynarray<std::int64_t> a;
  dyn::static_new(a, 4);
  std::int64_t* block = a.data;
  a.length = 3;   // capacity - spare no longer equals length
  std::string log = logged([&] { dyn::free(a); });
  EXPECT_EQ(log, "  Deallocation fails! Length: 3 Dynamic length: 0 Maximal: 4 mismatch!\n");
  EXPECT_EQ(a.data, nullptr);
  std::free(block);
}

TEST(dynarray, overwritten_guard_keeps_the_block_and_reports) {
  dynarray<std::int64_t> a;
  dyn::static_new(a, 4);
  std::int64_t* block = a.data;
  a.guardmiddle = 1;
  std::string out = printed([&] { dyn::free(a); });
  EXPECT_EQ(out, "  Corrupt memory (Done size=32 and should=32)!\n");
  std::free(block);
}
