#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv)
{
    // The overlay speaks to the display itself; Qt needs none.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
