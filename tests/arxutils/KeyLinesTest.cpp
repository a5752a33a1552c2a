#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "arxutils/KeyLines.h"

namespace {

using arxutils::KeyLines;

// The lines as a map assigned in the same order holds them.
std::map<std::string, std::string> AsMap(const KeyLines& lines) {
    std::map<std::string, std::string> map;
    for (const auto& [key, value] : lines) map.emplace(key, value);
    return map;
}

TEST(KeyLines, SortGivesKeyOrderAndTheLastValueOfAKey) {
    KeyLines lines;
    lines.Add("b", "1");
    lines.Add("a", "2");
    lines.Add("b", "3");
    lines.Add("", "4");
    lines.Sort();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].key, "");
    EXPECT_EQ(lines[1].key, "a");
    EXPECT_EQ(lines[2].key, "b");
    EXPECT_EQ(lines[2].value, "3");
    ASSERT_TRUE(lines.Find("a"));
    EXPECT_EQ(*lines.Find("a"), "2");
    EXPECT_FALSE(lines.Find("c"));
}

TEST(KeyLines, LinesAddedAfterASortReplaceTheEarlierValues) {
    KeyLines lines{{"k", "old"}, {"m", "kept"}};
    lines.Add("k", "new");
    lines.Sort();
    EXPECT_EQ(lines, (KeyLines{{"k", "new"}, {"m", "kept"}}));
}

TEST(KeyLines, GivesWhatAMapAssignedInTheSameOrderHolds) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pick(0, 3000);
    KeyLines lines;
    std::map<std::string, std::string> map;
    for (int i = 0; i < 20000; ++i) {
        const std::string key = "plan.dxf<" + std::to_string(pick(random)) + "_T>";
        const std::string value = std::string(static_cast<std::size_t>(i % 40), 'v') + std::to_string(i);
        lines.Add(key, value);
        map[key] = value;
        if (i == 10000) lines.Sort();
    }
    lines.Sort();
    EXPECT_EQ(AsMap(lines), map);
    EXPECT_EQ(lines.size(), map.size());
}

TEST(KeyLines, SortedSheetBySheetItGivesWhatAMapAssignedInTheSameOrderHolds) {
    // Each sheet's lines are sorted into those of the sheets before.
    std::mt19937 random(11);
    std::uniform_int_distribution<int> pick(0, 5000);
    KeyLines lines;
    std::map<std::string, std::string> map;
    for (int i = 0; i < 30000; ++i) {
        const std::string key = "plan.dxf<" + std::to_string(pick(random)) + "_T>";
        const std::string value = "v" + std::to_string(i);
        lines.Add(key, value);
        map[key] = value;
        if (i % 997 == 0) lines.Sort();
    }
    lines.Sort();
    EXPECT_EQ(AsMap(lines), map);
    EXPECT_EQ(lines.size(), map.size());
    EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end(),
                               [](const KeyLines::Entry& a, const KeyLines::Entry& b) { return a.key < b.key; }));
}

// Keys added round after round, each round in a new order, to the lines and to a map alike.
class ShuffledRounds {
public:
    ShuffledRounds(int keys, unsigned seed, std::string path)
        : ids_(static_cast<std::size_t>(keys)), random_(seed), path_(std::move(path)) {
        for (int i = 0; i < keys; ++i) ids_[static_cast<std::size_t>(i)] = i;
    }

    // Adds the keys whose ids `every` divides, each with a value naming the round.
    void Add(int round, int every = 1) {
        std::shuffle(ids_.begin(), ids_.end(), random_);
        for (int id : ids_) {
            if (id % every != 0) continue;
            const std::string key = path_ + "<" + std::to_string(id) + "_TAG>";
            const std::string value = std::to_string(round) + ":" + std::to_string(id);
            lines.Add(key, value);
            map[key] = value;
        }
    }

    // The lines, in order, are the map's pairs.
    void ExpectTheMapInOrder() const {
        ASSERT_EQ(lines.size(), map.size());
        auto expected = map.begin();
        for (const auto& [key, value] : lines) {
            ASSERT_EQ(key, expected->first);
            ASSERT_EQ(value, expected->second);
            ++expected;
        }
    }

    KeyLines lines;
    std::map<std::string, std::string> map;

private:
    std::vector<int> ids_;
    std::mt19937 random_;
    std::string path_;
};

TEST(KeyLines, AListLongEnoughToSortOnTwoThreadsKeepsTheLastValueOfAKeyFromEitherHalf) {
    // Every key is added once in each half of the list, so the halves' merge decides which
    // value stays.
    ShuffledRounds rounds(60000, 5, "/home/user/drawings/site plan.dxf");
    rounds.Add(0);
    rounds.Add(1);
    rounds.lines.Sort();
    rounds.ExpectTheMapInOrder();
}

TEST(KeyLines, AListSortedInPiecesKeepsTheLastValueOfAKeyFromAnyPieceOrFromTheLinesSortedBefore) {
    // More lines than one piece of a sort: keys are added before a sort and three times after
    // it, in a new order each time, so that the lines of a key lie in every piece.
    ShuffledRounds rounds(400000, 11, "D:\\plant\\area 3.dwg");
    rounds.Add(0, 3);
    rounds.lines.Sort();
    rounds.Add(1);
    rounds.Add(2);
    rounds.Add(3, 2);
    rounds.ExpectTheMapInOrder();
}

TEST(KeyLines, SortingALongListNeverHoldsItsLinesTwice) {
    // 2,000,000 lines in an order far from sorted: sorted into a copy, lines of 32 bytes took
    // 96 MB more at the sort; moved where they are, 40 MB (their order while it was found); now
    // lines of 16 bytes, sorted a piece at a time into runs that are then merged, take less than
    // their own size (a piece's order and its run while it is made, about 21 MB).
    constexpr std::size_t kCount = 2000000;
    KeyLines lines;
    const std::string_view value = lines.Keep("v");
    char key[48];
    for (std::size_t i = 0; i < kCount; ++i) {
        // A prime factor that doesn't divide the count: every key once.
        std::snprintf(key, sizeof key, "C:\\a.dwg<%08zX_TAG>", i * 2654435761u % kCount);
        lines.AddKept(key, value);
    }
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    lines.Sort();
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, static_cast<long>(kCount * 16 / 1024));
    ASSERT_EQ(lines.size(), kCount);
    for (std::size_t i = 0; i < kCount; i += 9973) {
        std::snprintf(key, sizeof key, "C:\\a.dwg<%08zX_TAG>", i);
        ASSERT_EQ(lines[i].key, key);
    }
}

TEST(KeyLines, KeysThatArePrefixesOfOthersOrHoldZeroBytesSortAsStrings) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> length(0, 30);
    std::uniform_int_distribution<int> letter(0, 3);
    const std::string alphabet("a\0b\xFF", 4);
    KeyLines lines;
    std::map<std::string, std::string> map;
    for (int i = 0; i < 20000; ++i) {
        std::string key = i % 3 == 0 ? "shared/beginning/of/many/keys<" : "";
        for (int n = length(random); n > 0; --n) key += alphabet[static_cast<std::size_t>(letter(random))];
        lines.Add(key, std::to_string(i));
        map[key] = std::to_string(i);
    }
    lines.Sort();
    EXPECT_EQ(AsMap(lines), map);
    ASSERT_EQ(lines.size(), map.size());
    auto expected = map.begin();
    for (const auto& [key, value] : lines) {
        EXPECT_EQ(key, expected->first);
        ++expected;
    }
}

TEST(KeyLines, ACopyHoldsItsOwnTexts) {
    KeyLines copy;
    {
        KeyLines lines{{"a", std::string(3000000, 'x')}, {"b", "short"}};
        copy = lines;
    }
    ASSERT_EQ(copy.size(), 2u);
    EXPECT_EQ(copy[0].value.size(), 3000000u);
    EXPECT_EQ(copy[1].value, "short");
    copy.clear();
    EXPECT_TRUE(copy.empty());
}

TEST(KeyLines, ASharedKeyStaysReadableAfterItsHolderLetsItGo) {
    KeyLines lines;
    std::weak_ptr<const base::TextBlocks> held;
    {
        auto holder = std::make_shared<base::TextBlocks>(64);
        held = holder;
        const std::string key(100, 'k');  // longer than a block: a block of its own
        lines.AddShared({holder->KeepCounted(key), holder}, lines.Keep("1"));
        lines.AddShared({holder->KeepCounted("a"), holder}, lines.Keep("2"));
        lines.Add("a", "3");
    }
    EXPECT_EQ(held.use_count(), 1);  // the list's one share for both lines
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].key, "a");
    EXPECT_EQ(lines[0].value, "3");
    EXPECT_EQ(lines[1].key, std::string(100, 'k'));
    EXPECT_EQ(lines[1].value, "1");
    KeyLines copy = lines;
    lines.clear();
    EXPECT_TRUE(held.expired());
    EXPECT_EQ(copy[1].key, std::string(100, 'k'));
}

TEST(KeyLines, OwningSharedKeysLetsTheirHoldersGo) {
    KeyLines lines;
    lines.Add("b", "0");
    std::weak_ptr<const base::TextBlocks> held;
    {
        auto holder = std::make_shared<base::TextBlocks>(64);
        held = holder;
        lines.AddShared({holder->KeepCounted("c"), holder}, lines.Keep("1"));
        lines.Add("a", "2");
        lines.AddShared({holder->KeepCounted(std::string(100, 'k')), holder}, lines.Keep("3"));
    }
    lines.OwnSharedKeys();
    EXPECT_TRUE(held.expired());
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], (KeyLines::Entry{"a", "2"}));
    EXPECT_EQ(lines[1], (KeyLines::Entry{"b", "0"}));
    EXPECT_EQ(lines[2], (KeyLines::Entry{"c", "1"}));
    EXPECT_EQ(lines[3], (KeyLines::Entry{std::string(100, 'k'), "3"}));
}

TEST(KeyLines, OwningSharedKeysAfterASortOwnsTheLinesItMoved) {
    KeyLines lines;
    for (const char* key : {"d", "e", "f"}) lines.Add(key, "old");
    lines.OwnSharedKeys();  // nothing shared yet: nothing to do
    auto holder = std::make_shared<base::TextBlocks>(64);
    // A later line of a key replaces the earlier one at the sort, so the shared keys end up
    // before lines of the list's own.
    const char* a = holder->KeepCounted("a");
    const char* e = holder->KeepCounted("e");
    lines.AddShared({a, holder}, lines.Keep("new"));
    lines.AddShared({e, holder}, lines.Keep("new"));
    ASSERT_EQ(lines.size(), 4u);  // sorted here
    lines.OwnSharedKeys();
    EXPECT_EQ(holder.use_count(), 1);
    // The holder's texts overwritten: the list reads its own copies.
    *const_cast<char*>(a) = 'x';
    *const_cast<char*>(e) = 'x';
    const std::vector<KeyLines::Entry> expected = {
        {"a", "new"}, {"d", "old"}, {"e", "new"}, {"f", "old"}};
    EXPECT_EQ(std::vector<KeyLines::Entry>(lines.begin(), lines.end()), expected);
}

}  // namespace
