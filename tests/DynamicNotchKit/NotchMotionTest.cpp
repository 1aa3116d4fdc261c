#include "DynamicNotchKit/NotchMotion.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace std::chrono_literals;

constexpr MonotonicTime start = MonotonicTime() + 1h;
constexpr SpringAnimation conversion { 0.4, 0.85 };

NotchForm formOf(double width, double height, double expansion)
{
    NotchForm form;
    form.width = width;
    form.height = height;
    form.expansion = expansion;
    form.compaction = 1 - expansion;
    return form;
}

const NotchForm compactForm = formOf(252, 28, 0);
const NotchForm expandedForm = formOf(428, 456, 1);

TEST(NotchMotion, takesAllOfTheFormToTheNewOne)
{
    NotchMotion motion;
    motion.jumpTo(compactForm);
    EXPECT_FALSE(motion.isMoving());

    motion.springTo(expandedForm, conversion, start);
    EXPECT_TRUE(motion.isMoving());
    EXPECT_EQ(motion.form(), compactForm);
    motion.advance(start + 100ms);
    EXPECT_GT(motion.form().height, 150);
    EXPECT_LT(motion.form().height, 456);
    EXPECT_GT(motion.form().expansion, 0.3);
    motion.advance(start + 2s);
    EXPECT_EQ(motion.form(), expandedForm);
    EXPECT_FALSE(motion.isMoving());
    EXPECT_EQ(motion.opacity(), 1);
}

TEST(NotchMotion, turnsAroundInTheMidstOfAMotion)
{
    NotchMotion motion;
    motion.jumpTo(compactForm);
    motion.springTo(expandedForm, conversion, start);
    motion.advance(start + 100ms);
    const double height = motion.form().height;
    motion.springTo(compactForm, { 0.4, 1.0 }, start + 100ms);
    motion.advance(start + 101ms);
    EXPECT_GT(motion.form().height, height) << "it has a velocity";
    motion.advance(start + 2s);
    EXPECT_EQ(motion.form(), compactForm);
}

TEST(NotchMotion, fadesALargerFormInOverTheFormerOne)
{
    NotchMotion motion;
    motion.jumpTo(compactForm);
    motion.fadeTo(expandedForm, start);
    EXPECT_EQ(motion.form(), expandedForm);
    ASSERT_TRUE(motion.formerForm());
    EXPECT_EQ(*motion.formerForm(), compactForm);
    EXPECT_EQ(motion.opacity(), 0);
    EXPECT_EQ(motion.formerOpacity(), 1);
    motion.advance(start + 50ms);
    EXPECT_EQ(motion.opacity(), 0.75);
    EXPECT_EQ(motion.formerOpacity(), 1) << "what both cover stays covered";
    motion.advance(start + 100ms);
    EXPECT_EQ(motion.opacity(), 1);
    EXPECT_FALSE(motion.formerForm());
    EXPECT_FALSE(motion.isMoving());
}

TEST(NotchMotion, fadesALargerFormOutOverTheNewOne)
{
    NotchMotion motion;
    motion.jumpTo(expandedForm);
    motion.fadeTo(compactForm, start);
    motion.advance(start + 50ms);
    EXPECT_EQ(motion.opacity(), 1);
    EXPECT_EQ(motion.formerOpacity(), 0.25);
    motion.advance(start + 100ms);
    EXPECT_FALSE(motion.isMoving());
}

TEST(NotchMotion, doesNotFadeOverItself)
{
    NotchMotion motion;
    motion.jumpTo(compactForm);
    motion.fadeTo(compactForm, start);
    EXPECT_FALSE(motion.isMoving());
    EXPECT_EQ(motion.opacity(), 1);
}

TEST(NotchMotion, canFadeInTheMidstOfASpring)
{
    NotchMotion motion;
    motion.jumpTo(compactForm);
    motion.springTo(expandedForm, conversion, start);
    motion.advance(start + 50ms);
    motion.fadeTo(compactForm, start + 50ms);
    motion.advance(start + 150ms);
    EXPECT_EQ(motion.form(), compactForm);
    EXPECT_FALSE(motion.isMoving());
}

} // namespace
} // namespace vantry::test
