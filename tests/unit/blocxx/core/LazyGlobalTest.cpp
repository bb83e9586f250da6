#include "blocxx/LazyGlobal.hpp"

#include "blocxx/GlobalMutex.hpp"
#include "blocxx/GlobalString.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using blocxx::GlobalString;
using blocxx::LazyGlobal;
using blocxx::String;

namespace
{

GlobalString NAME = BLOCXX_GLOBAL_STRING_INIT("zol.name");
const GlobalString CONSTANT_NAME = BLOCXX_GLOBAL_STRING_INIT("constant");

/// Uses NAME before main() starts.
const std::size_t LENGTH_AT_START = NAME.get().length();

struct Object
{
    explicit Object(int number) : value(number) { ++alive; }
    ~Object() { --alive; }
    int value;
    static inline std::atomic<int> alive{0};
};

struct SlowFactory
{
    static Object* create(const int& datum)
    {
        ++calls;
        std::this_thread::yield();
        return new Object(datum);
    }
    static inline std::atomic<int> calls{0};
};

struct FailingOnceFactory
{
    static Object* create(const int& datum)
    {
        if (calls++ == 0)
        {
            throw std::runtime_error("not yet");
        }
        return new Object(datum);
    }
    static inline int calls = 0;
};

String copyOf(const String& text)
{
    return text;
}

} // namespace

TEST(LazyGlobal, IsUsableBeforeMain)
{
    EXPECT_EQ(8U, LENGTH_AT_START);
}

TEST(LazyGlobal, ConvertsToItsObject)
{
    EXPECT_EQ("zol.name", copyOf(NAME));
    EXPECT_EQ("constant", copyOf(CONSTANT_NAME));
    String& text = NAME;
    EXPECT_EQ(&NAME.get(), &text);
}

TEST(LazyGlobal, CreatesOnFirstUseAndDeletesInItsDestructor)
{
    {
        LazyGlobal<Object, int> global = BLOCXX_LAZY_GLOBAL_INIT(5);
        EXPECT_EQ(0, Object::alive);
        EXPECT_EQ(5, global.get().value);
        EXPECT_EQ(&global.get(), &global.get());
        EXPECT_EQ(1, Object::alive);
    }
    EXPECT_EQ(0, Object::alive);
}

TEST(LazyGlobal, ThatWasNeverUsedCreatesNothing)
{
    {
        const LazyGlobal<Object, int> global = BLOCXX_LAZY_GLOBAL_INIT(5);
    }
    EXPECT_EQ(0, Object::alive);
}

TEST(LazyGlobal, IsCreatedOnceByManyThreads)
{
    for (int round = 0; round < 50; ++round)
    {
        SlowFactory::calls = 0;
        LazyGlobal<Object, int, SlowFactory> global = BLOCXX_LAZY_GLOBAL_INIT(7);
        std::vector<std::thread> threads;
        threads.reserve(4);
        std::atomic<int> sum{0};
        for (int i = 0; i < 4; ++i)
        {
            threads.emplace_back([&] { sum += global.get().value; });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        ASSERT_EQ(28, sum);
        ASSERT_EQ(1, SlowFactory::calls);
    }
}

TEST(LazyGlobal, AssignmentGoesToItsObject)
{
    GlobalString global = BLOCXX_GLOBAL_STRING_INIT("old");
    const String* const object = &global.get();
    global = "new";
    EXPECT_EQ("new", global.get());
    global = String("newer");
    EXPECT_EQ("newer", global.get());
    EXPECT_EQ(object, &global.get());
}

TEST(LazyGlobal, AnUnusedOneIsCreatedByAnAssignment)
{
    GlobalString global = BLOCXX_GLOBAL_STRING_INIT("old");
    global = "new";
    EXPECT_EQ("new", global.get());
}

TEST(LazyGlobal, DefaultConstructedOnesNeedNoDatum)
{
    blocxx::DefaultConstructedLazyGlobal<std::vector<int>>::type global = BLOCXX_LAZY_GLOBAL_INIT(0);
    EXPECT_TRUE(global.get().empty());
    global.get().push_back(1);
    EXPECT_EQ(1U, global.get().size());
}

TEST(LazyGlobal, AGlobalMutexCanBeLocked)
{
    static blocxx::GlobalMutex mutex = BLOCXX_GLOBAL_MUTEX_INIT();
    const std::lock_guard<std::mutex> lock(mutex.get());
    EXPECT_FALSE(std::async(std::launch::async, [] { return mutex.get().try_lock(); }).get());
}

TEST(LazyGlobal, AFailedCreationIsTriedAgain)
{
    LazyGlobal<Object, int, FailingOnceFactory> global = BLOCXX_LAZY_GLOBAL_INIT(3);
    EXPECT_THROW(global.get(), std::runtime_error);
    EXPECT_EQ(3, global.get().value);
}
