// Part of the test program when it is compiled with all mutants: reads which one is switched on, and
// writes for each test case how long it was at work and which mutants it reached.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <vector>

int vordaActive = -1;
unsigned char* vordaReached = nullptr;

namespace {

// Before anything of the program, tables included, is set up.
__attribute__((constructor(101))) void readEnvironment() {
  if (const char* number = std::getenv("VORDA_MUTANT")) vordaActive = std::atoi(number);
  if (const char* count = std::getenv("VORDA_MUTANTS")) {
    vordaReached = static_cast<unsigned char*>(std::calloc(std::strtoul(count, nullptr, 10), 1));
  }
}

class Recorder : public doctest::IReporter {
public:
  explicit Recorder(const doctest::ContextOptions&) {
    if (vordaReached == nullptr) return;
    count_ = std::strtoul(std::getenv("VORDA_MUTANTS"), nullptr, 10);
    out_.open(std::getenv("VORDA_RECORD"));
  }

  void test_case_start(const doctest::TestCaseData& test) override {
    name_ = test.m_name;
    if (vordaReached != nullptr) std::fill_n(vordaReached, count_, static_cast<unsigned char>(0));
    start_ = std::clock();
  }

  void test_case_end(const doctest::CurrentTestCaseStats&) override {
    if (vordaReached == nullptr) return;
    const double took = static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC;
    out_ << name_ << '\t' << took << '\t';
    for (std::size_t i = 0; i < count_; ++i) {
      if (vordaReached[i] != 0) out_ << i << ' ';
    }
    out_ << '\n' << std::flush;
  }

  void report_query(const doctest::QueryData&) override {}
  void test_run_start() override {}
  void test_run_end(const doctest::TestRunStats&) override {}
  void test_case_reenter(const doctest::TestCaseData&) override {}
  void test_case_exception(const doctest::TestCaseException&) override {}
  void subcase_start(const doctest::SubcaseSignature&) override {}
  void subcase_end() override {}
  void log_assert(const doctest::AssertData&) override {}
  void log_message(const doctest::MessageData&) override {}
  void test_case_skipped(const doctest::TestCaseData&) override {}

private:
  std::size_t count_ = 0;
  std::ofstream out_;
  const char* name_ = "";
  std::clock_t start_ = 0;
};

REGISTER_LISTENER("recorder", 1, Recorder);

} // namespace
