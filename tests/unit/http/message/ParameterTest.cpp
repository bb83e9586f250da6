#include "zol/http/Parameter.hpp"

#include <gtest/gtest.h>

using ZOLNS2::HTTP::Parameter;

TEST(Parameter, KeepsNameAndValueAsGiven)
{
    const Parameter parameter(" Charset ", "\"UTF-8\" ");
    EXPECT_EQ(parameter.name, " Charset ");
    EXPECT_EQ(parameter.value, "\"UTF-8\" ");
}

TEST(Parameter, StartsEmpty)
{
    EXPECT_TRUE(Parameter().name.empty());
    EXPECT_TRUE(Parameter().value.empty());
}
