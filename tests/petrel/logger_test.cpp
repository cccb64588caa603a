#include "petrel/logger.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "tests/support/system_calls.h"

namespace {

using testing::Each;
using testing::SizeIs;

/** The framework's own sink, whatever replaces it in this program. */
decltype(&logger) default_sink() {
    return reinterpret_cast<decltype(&logger)>(dlsym(RTLD_NEXT, "logger"));
}

/** Standard error leads into a pipe while a test runs. */
class LoggerTest : public testing::Test {
protected:
    LoggerTest() : log(default_sink()), kept_(dup(STDERR_FILENO)) {
        unsetenv("JOURNAL_STREAM");
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        reader_ = ends[0];
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }

    ~LoggerTest() override {
        restore();
        close(kept_);
        close(reader_);
    }

    /** What was written to standard error; nothing more can be written then. */
    std::string written() {
        restore();
        std::string text;
        char piece[4096];
        for (ssize_t size = 0; (size = read(reader_, piece, sizeof(piece))) > 0;) {
            text.append(piece, static_cast<std::size_t>(size));
        }
        return text;
    }

    /** The environment of a service whose standard error is the journal's stream. */
    static void connect_to_journal() {
        struct stat status = {};
        ASSERT_EQ(fstat(STDERR_FILENO, &status), 0);
        const std::string stream =
            std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
        setenv("JOURNAL_STREAM", stream.c_str(), 1);
    }

    decltype(&logger) log;

private:
    void restore() const { dup2(kept_, STDERR_FILENO); }

    int kept_;
    int reader_;
};

TEST_F(LoggerTest, AMessageIsALineWithItsLevelInFront) {
    log(2, "%s", "no data\n");
    EXPECT_EQ(written(), "[2] no data\n");
}

TEST_F(LoggerTest, AMessageWithoutANewlineGetsOne) {
    log(1, "%s", "no data");
    EXPECT_EQ(written(), "[1] no data\n");
}

TEST_F(LoggerTest, AnEmptyMessageIsALine) {
    log(1, "%s", "");
    EXPECT_EQ(written(), "[1] \n");
}

TEST_F(LoggerTest, EveryLineOfAMessageHasTheLevel) {
    log(-3, "%s", "one\n\ntwo");
    EXPECT_EQ(written(), "[-3] one\n[-3] \n[-3] two\n");
}

TEST_F(LoggerTest, FormatsAsPrintfDoes) {
    log(1, "%d of %s: %5.2f %%", 3, "four", 2.5);
    EXPECT_EQ(written(), "[1] 3 of four:  2.50 %\n");
}

TEST_F(LoggerTest, ALongMessageIsComplete) {
    const std::string text(10000, 'x');
    log(1, "%s", text.c_str());
    EXPECT_EQ(written(), "[1] " + text + "\n");
}

TEST_F(LoggerTest, AMessageThatCannotBeFormattedIsLoggedAsItsFormat) {
    // No byte of the default locale stands for this letter.
    log(1, "%ls", L"\u03B1");
    EXPECT_EQ(written(), "[1] %ls\n");
}

TEST_F(LoggerTest, KeepsTheErrorNumber) {
    errno = ENOSPC;
    log(1, "%s", "text");
    EXPECT_EQ(errno, ENOSPC);
}

/** A level, and the prefix that the journal reads it from. */
struct JournalPrefix {
    int level;
    char const* prefix;
};

void PrintTo(JournalPrefix const& one, std::ostream* os) {
    *os << one.level;
}

class LoggerJournalTest : public LoggerTest, public testing::WithParamInterface<JournalPrefix> {};

INSTANTIATE_TEST_SUITE_P(Levels, LoggerJournalTest,
                         testing::Values(JournalPrefix{-1, "<6>"}, JournalPrefix{0, "<6>"},
                                         JournalPrefix{1, "<4>"}, JournalPrefix{2, "<3>"},
                                         JournalPrefix{9, "<3>"}));

TEST_P(LoggerJournalTest, GetsThePriorityInFrontOfEveryLine) {
    connect_to_journal();
    log(GetParam().level, "%s", "one\ntwo\n");
    const std::string prefix = GetParam().prefix;
    EXPECT_EQ(written(), prefix + "one\n" + prefix + "two\n");
}

TEST_F(LoggerTest, AnotherStreamThanTheJournalsGetsTheLevel) {
    setenv("JOURNAL_STREAM", "1:2", 1);
    log(1, "%s", "text");
    EXPECT_EQ(written(), "[1] text\n");
}

/** The sink on a standard error whose writes are answered by the test. */
class LoggerWriteTest : public LoggerTest {
protected:
    /** What the next writes answer: a number of bytes, or an error below zero. */
    void answer_writes(std::vector<int> answers) {
        system_calls.write = [this, answers = std::move(answers)](int, void const* bytes,
                                                                  size_t size) -> ssize_t {
            const int answer = next < answers.size() ? answers[next] : static_cast<int>(size);
            ++next;
            if (answer >= 0) text.append(static_cast<char const*>(bytes), size_t(answer));
            errno = answer < 0 ? -answer : 0;
            return answer < 0 ? -1 : answer;
        };
    }

    test_support::SystemCalls system_calls;
    std::size_t next = 0;
    std::string text;
};

TEST_F(LoggerWriteTest, AMessageIsOneWrite) {
    answer_writes({});
    log(1, "%s", "one\ntwo\n");
    EXPECT_EQ(text, "[1] one\n[1] two\n");
    EXPECT_EQ(next, 1U);
}

TEST_F(LoggerWriteTest, APartialWriteIsContinued) {
    answer_writes({3, 1});
    log(1, "%s", "text");
    EXPECT_EQ(text, "[1] text\n");
}

TEST_F(LoggerWriteTest, AnInterruptedWriteIsRepeated) {
    answer_writes({-EINTR, 2, -EINTR});
    log(1, "%s", "text");
    EXPECT_EQ(text, "[1] text\n");
}

TEST_F(LoggerWriteTest, AFailedWriteEndsTheMessageAndKeepsTheErrorNumber) {
    answer_writes({2, -EPIPE});
    errno = ENOSPC;
    log(1, "%s", "text");
    EXPECT_EQ(next, 2U);
    EXPECT_EQ(errno, ENOSPC);
}

TEST_F(LoggerWriteTest, AWriteOfNothingEndsTheMessage) {
    answer_writes({0});
    log(1, "%s", "text");
    EXPECT_EQ(next, 1U);
}

TEST_F(LoggerTest, MessagesOfSeveralThreadsAreWholeLines) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            for (int i = 0; i < 50; ++i) log(1, "%s %s", "part", "and part\n");
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::stringstream text(written());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    EXPECT_THAT(lines, SizeIs(200));
    EXPECT_THAT(lines, Each("[1] part and part"));
}

}  // namespace
