#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <random>
#include <sstream>

#include "tests/fixture/device_fixture.h"
#include "tests/fixture/device_model.h"
#include "tests/fixture/failing_calls.h"
#include "tests/fixture/plain_parser.h"
#include "tests/fixture/random_steps.h"
#include "tests/fixture/shorten.h"

namespace {

constexpr unsigned long kSteps = 24000;
constexpr unsigned long kParts = 8;
constexpr unsigned long kStepsInASequence = 250;

unsigned long NumberOf(const char* variable, unsigned long otherwise) {
    const char* text = std::getenv(variable);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

class ModelTest : public DeviceFixture, public ::testing::WithParamInterface<unsigned long> {
  protected:
    // Carries the steps out on a new device and on the model. Returns where they part, empty when
    // they do not.
    std::string FirstDifference(const std::vector<Step>& steps, CSIPTrunkConfig& service) const {
        std::remove(DatabasePath().c_str());
        std::remove(StartFilePath().c_str());
        DeviceModel model;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const std::string difference = DifferenceIn(steps[i], service, model);
            if (!difference.empty()) {
                return "step " + std::to_string(i + 1) + ": " + difference;
            }
        }
        return "";
    }

  private:
    std::string DifferenceIn(const Step& step, CSIPTrunkConfig& service, DeviceModel& model) const {
        if (step.kind == Step::Kind::kStartFile) {
            PutInPlace(StartFilePath(), step.file);
            model.startFile = step.file;
            return "";
        }
        if (step.kind != Step::Kind::kCall) {
            PutInPlace(DatabasePath(), step.file);
            model.SetDatabase(step.file, step.kind == Step::Kind::kMalformedDatabase);
            return "";
        }
        const FixedClock clock(step.now, 0);
        model.now = step.now;
        const int savesBefore = model.saves;
        const ino_t database = InodeOrNone(DatabasePath());
        const ino_t startFile = InodeOrNone(StartFilePath());
        const std::string actual = Outcome(service, step);
        const std::string expected = Outcome(model, step);
        const int saved =
            IsReplaced(DatabasePath(), database) + IsReplaced(StartFilePath(), startFile);
        return Difference("outcome", actual, expected) +
               Difference("count of saves", std::to_string(saved),
                          std::to_string(model.saves - savesBefore)) +
               Difference("database", TextOrNone(DatabasePath()), model.Database()) +
               Difference("start file", TextOrNone(StartFilePath()), model.startFile);
    }

    static void PutInPlace(const std::string& path, const std::optional<std::string>& text) {
        if (text) {
            WriteFile(path, *text);
        } else {
            std::remove(path.c_str());
        }
    }

    static ino_t InodeOrNone(const std::string& path) {
        return access(path.c_str(), F_OK) == 0 ? InodeOf(path) : 0;
    }

    // Whether another file stands where the one with the inode `before` was.
    static int IsReplaced(const std::string& path, ino_t before) {
        return before != 0 && InodeOrNone(path) != before ? 1 : 0;
    }

    static std::optional<std::string> TextOrNone(const std::string& path) {
        if (access(path.c_str(), F_OK) != 0) {
            return std::nullopt;
        }
        return ReadFile(path);
    }

    static std::string Difference(const char* what, const std::optional<std::string>& actual,
                                  const std::optional<std::string>& expected) {
        if (actual == expected) {
            return "";
        }
        return std::string("\n") + what + " is\n" + actual.value_or("(none)") +
               "\nand not, as in the model,\n" + expected.value_or("(none)");
    }
};

// Whether each section is closed and holds all entries.
bool IsWellFormed(const std::vector<std::string>& lines) {
    bool inSection = false;
    for (const std::string& line : lines) {
        const std::size_t first = line.find_first_not_of(" \t\n");
        if (first == std::string::npos || line[first] == '#') {
            continue;
        }
        const bool isEntry = line.find('=') != std::string::npos;
        const bool isOpener = !isEntry && line[first] != '}';
        if (isOpener == inSection) {
            return false;
        }
        inSection = isOpener || isEntry;
    }
    return !inSection;
}

// Leaves out what can be left out of the databases that `steps` put in place.
template <typename Fails>
std::vector<Step> WithShorterDatabases(std::vector<Step> steps, const Fails& fails) {
    for (Step& step : steps) {
        if (step.kind != Step::Kind::kDatabase || !step.file) {
            continue;
        }
        const auto setLines = [&](const std::vector<std::string>& lines) {
            step.file = std::accumulate(lines.begin(), lines.end(), std::string());
        };
        setLines(Shortened(LinesOf(*step.file), [&](const std::vector<std::string>& fewer) {
            setLines(fewer);
            return IsWellFormed(fewer) && fails(steps);
        }));
    }
    return steps;
}

TEST_P(ModelTest, TheServiceAndTheModelAgreeAfterEachStep) {
    const unsigned long first = NumberOf("RAIKLAIK_MODEL_SEED", 1000);
    const unsigned long sequences =
        NumberOf("RAIKLAIK_MODEL_STEPS", kSteps) / kParts / kStepsInASequence;
    CSIPTrunkConfig silent(nullptr);
    std::cout << sequences << " sequences of " << kStepsInASequence << " steps, from seed "
              << first + GetParam() * sequences << '\n';
    for (unsigned long i = 0; i < sequences; ++i) {
        const unsigned long seed = first + GetParam() * sequences + i;
        CSIPTrunkConfig& service = i % 2 == 0 ? config : silent;
        std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
        const std::vector<Step> steps = RandomSteps(random, kStepsInASequence);
        if (FirstDifference(steps, service).empty()) {
            continue;
        }
        const auto fails = [&](const std::vector<Step>& some) {
            return !FirstDifference(some, service).empty();
        };
        const std::vector<Step> shortened = WithShorterDatabases(Shortened(steps, fails), fails);
        std::ostringstream text;
        for (const Step& step : shortened) {
            text << "  " << step << '\n';
        }
        FAIL() << "seed " << seed << ", shortened to:\n"
               << text.str() << FirstDifference(shortened, service);
    }
}

INSTANTIATE_TEST_SUITE_P(Part, ModelTest, ::testing::Range(0UL, kParts));

TEST(ShortenedTest, WhatDoesNotBelongToAFailureIsLeftOut) {
    std::vector<int> steps;
    for (int i = 0; i < 100; ++i) {
        steps.push_back(i);
    }
    // Fails with 7 somewhere before 93.
    const auto fails = [](const std::vector<int>& numbers) {
        const auto seven = std::find(numbers.begin(), numbers.end(), 7);
        return std::find(seven, numbers.end(), 93) != numbers.end();
    };
    EXPECT_EQ(Shortened(steps, fails), (std::vector<int>{7, 93}));
}

TEST(ShortenedTest, AFailureThatNeedsEveryStepKeepsThemAll) {
    const std::vector<int> steps{1, 2, 3, 4, 5};
    const auto fails = [&](const std::vector<int>& numbers) { return numbers == steps; };
    EXPECT_EQ(Shortened(steps, fails), steps);
}

}  // namespace
