#include "support/LogCapture.hpp"

#include "blocxx/Array.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/IOException.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/LazyGlobal.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/Reference.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

using blocxx::IntrusiveReference;
using blocxx::Reference;

namespace
{

BLOCXX_DECLARE_EXCEPTION(HTTP)
BLOCXX_DEFINE_EXCEPTION(HTTP)

using Thrower = void (*)();

void throwBlocxx()
{
    throw HTTPException("t.cpp", 17, "boom");
}

void throwStandard()
{
    throw std::runtime_error("std boom");
}

void throwNumber()
{
    throw 5;
}

struct Exploding : blocxx::IntrusiveCountableBase
{
    explicit Exploding(Thrower thrower) : explode(thrower) {}
    ~Exploding() override { explode(); }
    Thrower explode;
};

struct Plain
{
    explicit Plain(Thrower thrower) : explode(thrower) {}
    virtual ~Plain() noexcept(false) { explode(); }
    Thrower explode;
};

struct Fancy : Plain
{
    using Plain::Plain;
};

/// An appender that cannot take a record.
class BrokenAppender : public blocxx::LogAppender
{
public:
    BrokenAppender() : LogAppender(ALL_COMPONENTS, ALL_CATEGORIES, blocxx::String("%m")) {}

    static inline int attempts = 0;

protected:
    void doProcessLogMessage(const blocxx::String&, const blocxx::LogMessage&) const override
    {
        ++attempts;
        throw std::runtime_error("no log");
    }
};

const std::string IN_REFERENCE = "Caught exception in the IntrusiveReference destructor";

} // namespace

TEST(ErroneousException, IsLoggedAsAnErrorOfItsOwnComponent)
{
    const zol_test::LogCapture log;
    blocxx::logErroneousException("somewhere", HTTPException("t.cpp", 17, "boom", 3));
    blocxx::logErroneousException("here", std::runtime_error("std boom"));
    blocxx::logErroneousException("there");
    const std::vector<zol_test::LogRecord> records = log.records();
    ASSERT_EQ(3U, records.size());
    for (const zol_test::LogRecord& record : records)
    {
        EXPECT_EQ("blocxx.Exception", record.component);
        EXPECT_EQ("ERROR", record.category);
    }
    EXPECT_EQ("Unable to handle exception: somewhere: t.cpp: 17 HTTPException: 3: boom", records[0].message);
    EXPECT_EQ("Unable to handle std::exception: here: std boom", records[1].message);
    EXPECT_EQ("Unable to handle exception: there", records[2].message);
}

TEST(ErroneousException, IsNotLoggedWhenErrorsAreNotAdmitted)
{
    const zol_test::LogCapture log(blocxx::E_FATAL_ERROR_LEVEL);
    blocxx::logErroneousException("somewhere");
    EXPECT_TRUE(log.records().empty());
}

TEST(ErroneousException, OfTheLastReleaseIsLoggedAndGoesNoFurther)
{
    const zol_test::LogCapture log;
    {
        const IntrusiveReference<Exploding> first(new Exploding(&throwBlocxx));
        const IntrusiveReference<Exploding> second(new Exploding(&throwStandard));
        const IntrusiveReference<Exploding> third(new Exploding(&throwNumber));
    }
    EXPECT_EQ((std::vector<std::string>{
                  "Unable to handle exception: " + IN_REFERENCE,
                  "Unable to handle std::exception: " + IN_REFERENCE + ": std boom",
                  "Unable to handle exception: " + IN_REFERENCE + ": t.cpp: 17 HTTPException: boom",
              }),
              log.messages("blocxx.Exception"));
}

TEST(ErroneousException, OfAnAssignmentIsLoggedToo)
{
    const zol_test::LogCapture log;
    IntrusiveReference<Exploding> reference(new Exploding(&throwStandard));
    EXPECT_NO_THROW(reference = nullptr);
    EXPECT_TRUE(log.contains("Unable to handle std::exception: " + IN_REFERENCE + ": std boom"));
}

TEST(ErroneousException, OfADirectReleaseComesOut)
{
    auto* const object = new Exploding(&throwStandard);
    IntrusiveReferenceAddRef(object);
    EXPECT_THROW(IntrusiveReferenceRelease(object), std::runtime_error);
}

TEST(ErroneousException, LeavesErrnoAlone)
{
    const zol_test::LogCapture log;
    errno = 77;
    IntrusiveReference<Exploding>(new Exploding(&throwBlocxx)) = nullptr;
    EXPECT_EQ(77, errno);
}

TEST(ErroneousException, IsLoggedByTheAppenderOfTheThreadToo)
{
    const blocxx::LogAppenderRef appender(new BrokenAppender);
    const int before = BrokenAppender::attempts;
    const blocxx::LogAppenderScope scope(appender);
    EXPECT_THROW(blocxx::logErroneousException("somewhere"), std::runtime_error);
    EXPECT_EQ(before + 1, BrokenAppender::attempts);
}

TEST(ErroneousException, CarriesNoPathOfTheSource)
{
    const zol_test::LogCapture log;
    blocxx::logErroneousException("somewhere");
    EXPECT_EQ("ErroneousException", log.records().at(0).file);
}

TEST(ErroneousException, ThatCannotEvenBeLoggedIsDropped)
{
    const int before = BrokenAppender::attempts;
    const blocxx::LogAppenderRef former = blocxx::LogAppender::getDefaultLogAppender();
    blocxx::LogAppender::setDefaultLogAppender(new BrokenAppender);
    {
        const IntrusiveReference<Exploding> reference(new Exploding(&throwStandard));
    }
    blocxx::LogAppender::setDefaultLogAppender(former);
    EXPECT_EQ(before + 1, BrokenAppender::attempts);
}

TEST(ErroneousException, OfAReferencedObjectNamesBothTypes)
{
    const zol_test::LogCapture log;
    {
        const Reference<Plain> first(new Fancy(&throwStandard));
        const Reference<Plain> second(new Plain(&throwNumber));
    }
    const std::string description =
        "Exception caught in decRef() for blocxx::Reference<(anonymous namespace)::Plain> with "
        "runtime type Reference<(anonymous namespace)::";
    EXPECT_EQ((std::vector<std::string>{
                  "Unable to handle exception: " + description + "Plain>",
                  "Unable to handle std::exception: " + description + "Fancy>:: std boom",
              }),
              log.messages("blocxx.Exception"));
}

TEST(ErroneousException, OfALazyGlobalIsLoggedInItsDestructor)
{
    const zol_test::LogCapture log;
    {
        const blocxx::LazyGlobal<Plain, Thrower> global = BLOCXX_LAZY_GLOBAL_INIT(&throwBlocxx);
        global.get();
    }
    EXPECT_TRUE(log.contains("Unable to handle exception: Caught exception in the LazyGlobal destructor: t.cpp: 17 "
                             "HTTPException: boom"));
}
