// Whatever the workers are up to, the first thread sees the same pieces in the same order.
#include "parallel/ordered_work.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace moldex::test {
namespace {

struct Piece {
  std::size_t size_bytes() const { return 10; }
  std::string text;
};

using Work = COrderedWork<Piece>;

// Pieces "NUMBER.0", "NUMBER.1" and so on; a failure comes instead of the piece `fails_at`.
class CCountJob : public IJob<Piece> {
 public:
  CCountJob(int number, int pieces, int fails_at = -1)
      : number_(number), pieces_(pieces), fails_at_(fails_at) {}
  ~CCountJob() override { EXPECT_FALSE(running_); }

  bool MakePiece(Piece& piece) override {
    EXPECT_FALSE(running_.exchange(true));
    std::this_thread::sleep_for(std::chrono::microseconds((number_ * 7 + next_ * 3) % 50));
    piece.text = std::to_string(number_) + "." + std::to_string(next_);
    made_in_all += 1;
    running_ = false;
    if (next_ == fails_at_) throw std::runtime_error(piece.text);
    return ++next_ < pieces_;
  }

  static inline std::atomic<int> made_in_all = 0;

 private:
  const int number_;
  const int pieces_;
  const int fails_at_;
  int next_ = 0;
  std::atomic<bool> running_ = false;
};

// A job whose pieces are the lines that it is fed.
class CEchoJob : public IJob<Piece> {
 public:
  bool MakePiece(Piece& piece) override {
    piece.text = line_;
    return line_ != "end";
  }
  bool HasInput() const override { return !input.empty(); }
  void TakeInput() override {
    line_ = input.front();
    input.pop_front();
  }

  std::deque<std::string> input;

 private:
  std::string line_;
};

// A job of one piece, which it prepares in two steps, the second when all jobs before it have.
class CTurnJob : public IJob<Piece> {
 public:
  CTurnJob(int number, std::atomic<int>& turn) : number_(number), turn_(turn) {}

  bool HasInput() const override { return step_ != 1 || turn_ == number_; }
  bool MadePiece() const override { return step_ == 3; }
  bool MakePiece(Piece& piece) override {
    std::this_thread::sleep_for(std::chrono::microseconds(number_ % 3 * 40));
    if (step_ == 1) {
      EXPECT_EQ(turn_++, number_);
    }
    if (step_ == 2) piece.text = std::to_string(number_);
    return ++step_ < 3;
  }

 private:
  const int number_;
  std::atomic<int>& turn_;
  int step_ = 0;
};

// The pieces of the front job, and the text of its failure.
std::string Take(Work& work) {
  std::string texts;
  Piece* piece = nullptr;
  try {
    while (work.Next(piece) == Work::State::kPiece)
      texts += piece->text + " ";
  } catch (const std::runtime_error& failure) {
    texts += std::string("failure ") + failure.what();
  }
  work.Drop();
  return texts;
}

class OrderedWork : public ::testing::TestWithParam<unsigned> {};

TEST_P(OrderedWork, GivesPiecesAndFailuresInTheOrderOfSubmission) {
  constexpr int kJobs = 300;
  for (const Work::Limits limits : {Work::Limits{1, 1}, {3, 40}, {20, 1000}}) {
    Work work(GetParam(), limits);
    std::string taken;
    std::string expected;
    for (int i = 0; i < kJobs; ++i) {
      while (!work.HasSpace())
        taken += Take(work);
      const int pieces = i % 5 + 1;
      const int fails_at = i % 11 == 10 ? i % 3 : -1;
      work.Submit(std::make_unique<CCountJob>(i, pieces, fails_at));
      for (int piece = 0; piece < pieces && piece != fails_at; ++piece)
        expected += std::to_string(i) + "." + std::to_string(piece) + " ";
      if (fails_at >= 0 && fails_at < pieces)
        expected += "failure " + std::to_string(i) + "." + std::to_string(fails_at);
    }
    while (!work.IsEmpty())
      taken += Take(work);
    EXPECT_EQ(taken, expected);
  }
}

TEST_P(OrderedWork, MakesNoMorePiecesAheadThanItsLimits) {
  CCountJob::made_in_all = 0;
  Work work(GetParam(), {8, 60});
  for (int i = 0; i < 8; ++i)
    work.Submit(std::make_unique<CCountJob>(i, 1000));
  Piece* piece = nullptr;
  for (int taken = 1; taken <= 100; ++taken) {
    ASSERT_EQ(work.Next(piece), Work::State::kPiece);
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    EXPECT_LE(CCountJob::made_in_all, taken + 6 + static_cast<int>(GetParam()));
  }
}

TEST_P(OrderedWork, EndsEarlyWithoutDoingTheRest) {
  CCountJob::made_in_all = 0;
  {
    Work work(GetParam(), {100, 10'000});
    for (int i = 0; i < 100; ++i)
      work.Submit(std::make_unique<CCountJob>(i, 100'000'000));
    Piece* piece = nullptr;
    for (int i = 0; i < 20; ++i) {
      ASSERT_EQ(work.Next(piece), Work::State::kPiece);
      EXPECT_EQ(piece->text, std::to_string(i) + ".0");
      work.Drop();
    }
  }
  // At most 1,000 pieces wait at a time, and one for each worker. Each Drop makes room for as many.
  EXPECT_LE(CCountJob::made_in_all, 21 * (1000 + static_cast<int>(GetParam())));
}

TEST_P(OrderedWork, AsksForInputAndGoesOnWithIt) {
  Work work(GetParam(), {4, 100});
  auto made = std::make_unique<CEchoJob>();
  CEchoJob& job = *made;
  work.Submit(std::move(made));
  work.Submit(std::make_unique<CCountJob>(7, 2));
  std::mt19937 random(1);  // NOLINT(cert-msc*): the same on every run
  Piece* piece = nullptr;
  std::size_t given = 0;
  for (std::size_t taken = 0; taken < 500;) {
    const auto lines = std::uniform_int_distribution<std::size_t>(1, 3)(random);
    work.Feed([&] {
      for (std::size_t i = 0; i < lines; ++i)
        job.input.push_back(std::to_string(given++));
    });
    for (; work.Next(piece) == Work::State::kPiece; ++taken)
      ASSERT_EQ(piece->text, std::to_string(taken));
    ASSERT_EQ(taken, given);
  }
  work.Feed([&] { job.input.emplace_back("end"); });
  EXPECT_EQ(Take(work), "end ");
  EXPECT_EQ(Take(work), "7.0 7.1 ");
}

TEST_P(OrderedWork, LetsJobsPrepareAPieceInTurn) {
  std::atomic<int> turn = 0;
  Work work(GetParam(), {9, 60});
  int taken = 0;
  for (int i = 0; i < 300; ++i) {
    while (!work.HasSpace())
      EXPECT_EQ(Take(work), std::to_string(taken++) + " ");
    work.Submit(std::make_unique<CTurnJob>(i, turn));
  }
  for (; !work.IsEmpty(); ++taken)
    EXPECT_EQ(Take(work), std::to_string(taken) + " ");
  EXPECT_EQ(taken, 300);
  // One whose turn nobody will make it lets nobody wait for ever.
  work.Submit(std::make_unique<CTurnJob>(301, turn));
  Piece* piece = nullptr;
  EXPECT_EQ(work.Next(piece), Work::State::kNeedsInput);
}

INSTANTIATE_TEST_SUITE_P(Workers, OrderedWork, ::testing::Values(0U, 1U, 2U, 4U, 16U),
                         ::testing::PrintToStringParamName());

TEST(OrderedWorkAlone, RunsOnTheFirstThreadWhereThereIsOneProcessor) {
  struct CThreadJob : IJob<Piece> {
    bool MakePiece(Piece& piece) override {
      piece.text.clear();
      ran_on = std::this_thread::get_id();
      return false;
    }
    std::thread::id ran_on;
  };
  Work work(1, {4, 100});
  auto job = std::make_unique<CThreadJob>();
  CThreadJob& made = *job;
  work.Submit(std::move(job));
  EXPECT_FALSE(work.HasSpace());
  Piece* piece = nullptr;
  EXPECT_EQ(work.Next(piece), Work::State::kPiece);
  EXPECT_EQ(made.ran_on, std::this_thread::get_id());
}

}  // namespace
}  // namespace moldex::test
