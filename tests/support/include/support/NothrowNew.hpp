#pragma once

namespace zol_test
{

/// While it lives, every non-throwing allocation of the process fails.
class FailingNothrowNew
{
public:
    FailingNothrowNew();
    ~FailingNothrowNew();
    FailingNothrowNew(const FailingNothrowNew&) = delete;
    FailingNothrowNew& operator=(const FailingNothrowNew&) = delete;
};

} // namespace zol_test
