#include "Platform/Linux/Pasteboard/PropertyPieces.h"

#include <gtest/gtest.h>

namespace vorlin {

namespace {

constexpr std::uint32_t type = 31;
using State = PropertyPieces::State;
const std::vector<std::uint8_t> piece = {1, 0, 2};

} // namespace

TEST(PropertyPieces, theEmptyPieceCompletesTheWhole)
{
    PropertyPieces pieces;
    EXPECT_EQ(pieces.add(type, 8, piece, 100), State::open);
    EXPECT_EQ(pieces.add(type, 8, piece, 100), State::open);
    EXPECT_EQ(pieces.add(77, 32, {}, 100), State::complete);
    const PropertyValue whole = pieces.take();
    EXPECT_EQ(whole.type, type);
    EXPECT_EQ(whole.format, 8);
    EXPECT_EQ(whole.bytes, (std::vector<std::uint8_t>{1, 0, 2, 1, 0, 2}));
}

TEST(PropertyPieces, nothingButTheEmptyPieceIsEmptyData)
{
    PropertyPieces pieces;
    EXPECT_EQ(pieces.add(type, 8, {}, 100), State::complete);
    EXPECT_EQ(pieces.take().type, type);
}

TEST(PropertyPieces, piecesOfAnotherTypeOrFormatAreRejected)
{
    PropertyPieces otherType;
    otherType.add(type, 8, piece, 100);
    EXPECT_EQ(otherType.add(type + 1, 8, piece, 100), State::rejected);
    EXPECT_EQ(otherType.add(type, 8, {}, 100), State::rejected);
    PropertyPieces otherFormat;
    otherFormat.add(type, 8, piece, 100);
    EXPECT_EQ(otherFormat.add(type, 16, piece, 100), State::rejected);
    EXPECT_EQ(otherFormat.size(), 0U);
}

TEST(PropertyPieces, moreThanTheLimitIsRejectedAndExactlyTheLimitIsNot)
{
    PropertyPieces pieces;
    EXPECT_EQ(pieces.add(type, 8, piece, 6), State::open);
    EXPECT_EQ(pieces.add(type, 8, piece, 6), State::open);
    EXPECT_EQ(pieces.add(type, 8, piece, 6), State::rejected);
    EXPECT_EQ(pieces.size(), 0U);
}

} // namespace vorlin
