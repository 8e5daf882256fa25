#pragma once

#include <QTest>

// The suite runs two tests at once, and again under the sanitizers: the run's threads can wait
// longer than Qt's 5 s default for a core. A wait ends as soon as its condition holds.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT((expr), 30000)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expr, expected) QTRY_COMPARE_WITH_TIMEOUT((expr), (expected), 30000)
