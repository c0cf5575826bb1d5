#include "Platform/Linux/Pasteboard/PasteboardFixture.h"
#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>

namespace vorlin {

namespace {

constexpr auto clipboard = PasteSource::clipboard;

class RealPrograms : public PasteboardFixture {
protected:
    void awaitOwner(const std::string& selection)
    {
        ScriptedReader reader;
        ASSERT_TRUE(eventually([&] { return reader.owner(selection) != XCB_NONE; }));
    }
};

} // namespace

TEST_F(RealPrograms, xclipsContentsComeBack)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    for (const auto& [target, content] :
         {std::pair(std::string("text/html"), std::string("<b>bold</b>")),
          std::pair(std::string("image/png"), textOf(noise(8U << 20U))),
          std::pair(std::string("application/x-mine"), std::string("\0a\0", 3))}) {
        {
            Process source({"xclip", "-quiet", "-selection", "clipboard", "-t", target}, content);
            ASSERT_TRUE(eventually([&] {
                const auto contents = snapshot();
                return contents.size() == 1 && contents[0].contains(target);
            }));
            const auto contents = snapshot();
            EXPECT_EQ(contents.at(0).at(target), bytesOf(content));
            pasteboard->setString(clipboard, "dictated");
            pasteboard->replace(clipboard, contents);
        }
        Process target1({"xclip", "-o", "-selection", "clipboard", "-t", target});
        EXPECT_EQ(target1.output(), content);
        pasteboard->replace(clipboard, {});
    }
}

TEST_F(RealPrograms, xclipAndXselPasteTheText)
{
    pasteboard->setString(clipboard, "Grüße “日本” 🎤");
    pasteboard->setString(PasteSource::primarySelection, "selected");
    if (installed("xclip")) {
        Process reader({"xclip", "-o", "-selection", "clipboard"});
        EXPECT_EQ(reader.output(), "Grüße “日本” 🎤");
        EXPECT_EQ(Process({"xclip", "-o"}).output(), "selected");
    }
    if (installed("xsel")) {
        Process reader({"xsel", "-b", "-o"});
        EXPECT_EQ(reader.output(), "Grüße “日本” 🎤");
    }
}

TEST_F(RealPrograms, xselsContentsAreRead)
{
    ASSERT_TRUE(installed("xsel")) << "scripts/install-packages brings it";
    const Process source({"xsel", "-n", "-b", "-i"}, "from xsel");
    awaitOwner("CLIPBOARD");
    EXPECT_EQ(snapshot().at(0).at("STRING"), bytesOf("from xsel"));
}

#ifdef QT_CLIPBOARD_PROGRAM

TEST_F(RealPrograms, aToolkitsContentsComeBackWhole)
{
    PasteboardSnapshot contents;
    std::vector<std::string> targets;
    std::map<std::string, std::optional<Typed>> before;
    {
        Process source({QT_CLIPBOARD_PROGRAM, "offer"});
        ASSERT_EQ(source.line(), "ready");
        awaitOwner("CLIPBOARD");
        contents = snapshot();
        ScriptedReader reader;
        for (const std::string& target : reader.targets()) {
            if (isKeptTarget(target)) {
                before[target] = reader.read(target);
            }
        }
    }
    ASSERT_EQ(contents.size(), 1U);
    for (const char* type :
         {"UTF8_STRING", "text/html", "text/uri-list", "image/png", "application/x-mine"}) {
        EXPECT_TRUE(contents[0].contains(type)) << type;
    }
    pasteboard->replace(clipboard, contents);
    ScriptedReader reader;
    for (const std::string& target : reader.targets()) {
        if (isKeptTarget(target)) {
            EXPECT_EQ(reader.read(target), before[target]) << target;
        }
    }
    Process html({QT_CLIPBOARD_PROGRAM, "read", "text/html"});
    EXPECT_EQ(html.output(), "<b>日本</b>");
    Process own({QT_CLIPBOARD_PROGRAM, "read", "application/x-mine"});
    EXPECT_EQ(own.output(), std::string("\0\1\0\xff", 4));
    Process text({QT_CLIPBOARD_PROGRAM, "text"});
    EXPECT_EQ(text.output(), "“日本” 🎤");
}

TEST_F(RealPrograms, aToolkitPastesTheText)
{
    const std::string longText = "Grüße “日本” 🎤 " + std::string(3U << 20U, 'x');
    for (const std::string& text : {std::string("Grüße “日本” 🎤"), longText}) {
        pasteboard->setString(clipboard, text);
        Process reader({QT_CLIPBOARD_PROGRAM, "text"});
        EXPECT_EQ(reader.output(), text);
        EXPECT_TRUE(eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::read; }));
    }
}

#endif

} // namespace vorlin
