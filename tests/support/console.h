// What a call prints to standard output or standard error, the children it runs included.
#pragma once

#include <gtest/gtest.h>

#include <string>

template <typename Call> std::string printedBy(const Call &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

template <typename Call> std::string complainedBy(const Call &call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}
