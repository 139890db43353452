#pragma once

#include <QTest>

/// One program holds all tests of a folder. Its first argument names the class to run, the others are Qt Test's.
namespace TestProgram {

using Run = int (*)(int argc, char *argv[]);

/// Makes `run` what the program does if its first argument is `name`. Returns true.
bool add(const char *name, Run run);

} // namespace TestProgram

/// Registers a class of tests; at the end of its source.
#define LUMAVERDINE_TEST(Class)                                                                              \
    static const bool is##Class##Registered = TestProgram::add(#Class, [](int argc, char *argv[]) {          \
        Class test;                                                                                          \
        return QTest::qExec(&test, argc, argv);                                                              \
    });
