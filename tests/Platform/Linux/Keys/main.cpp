#include "Platform/Linux/Keys/MonitorImitation.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <string_view>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && std::string_view(argv[1]) == vorlin::victimOption) {
        return vorlin::runVictim(argv[2]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
