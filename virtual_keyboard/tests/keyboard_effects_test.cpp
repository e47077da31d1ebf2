// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_effects.h"

#include <QRect>
#include <QTest>

#include <algorithm>
#include <numeric>
#include <set>

using namespace tavik::virtual_keyboard;
using namespace std::chrono_literals;

namespace {

constexpr int columns = 16;
constexpr int rows = 6;

std::vector<LightSpot> gridOfSpots()
{
    std::vector<LightSpot> spots;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column)
            spots.push_back(
                {.index = spots.size(), .x = (column + 0.5) / columns, .y = (row + 0.5) / rows});
    }
    return spots;
}

int code(std::string_view name)
{
    return static_cast<int>(std::ranges::find(effectNames, name) - effectNames.begin());
}

KeyboardState heldBy(int effect)
{
    KeyboardState state;
    state.lighting = {static_cast<std::uint8_t>(effect), 200, 100, 40, 0, 0, 0, 0, 0, 5, 3};
    return state;
}

using Picture = std::vector<KeyColor>;

LightScene sceneAt(const KeyboardState& held, std::chrono::milliseconds now,
                   const std::vector<KeyPress>& presses)
{
    static const std::vector<LightSpot> spots = gridOfSpots();
    return {.held = held, .spots = spots, .aspect = 8.0 / 3, .presses = presses, .now = now};
}

Picture pictureAt(const KeyboardState& held, std::chrono::milliseconds now,
                  const std::vector<KeyPress>& presses = {})
{
    const LightScene scene = sceneAt(held, now, presses);
    Picture picture;
    for (const LightSpot& spot : scene.spots)
        picture.push_back(keyLight(scene, spot));
    return picture;
}

bool movesAt(const KeyboardState& held, std::chrono::milliseconds now,
             const std::vector<KeyPress>& presses = {})
{
    return lightMoves(sceneAt(held, now, presses));
}

KeyPress pressOf(std::size_t index, std::chrono::milliseconds time)
{
    return {.spot = gridOfSpots().at(index), .time = time};
}

// Pictures of two minutes, so that everything an effect does is in it; another key has just been
// pressed in each.
std::vector<Picture> filmOf(const KeyboardState& held)
{
    std::vector<Picture> film;
    for (std::size_t frame = 0; frame < columns * rows; ++frame) {
        const auto now = 1000000ms + frame * 1193ms;
        film.push_back(pictureAt(held, now, {pressOf(frame, now - 20ms)}));
    }
    return film;
}

int brightness(const Picture& picture)
{
    return std::accumulate(picture.begin(), picture.end(), 0,
                           [](int sum, const KeyColor& color) { return sum + color[0]; });
}

// How much changes within 20 ms, at many moments.
double pace(const KeyboardState& held)
{
    double changes = 0;
    for (int frame = 0; frame < 300; ++frame) {
        const Picture before = pictureAt(held, 1000000ms + frame * 97ms);
        const Picture after = pictureAt(held, 1000020ms + frame * 97ms);
        for (std::size_t key = 0; key < before.size(); ++key)
            changes += std::abs(before[key][0] - after[key][0]);
    }
    return changes;
}

// What one of these keys shows, the next one on the way shows a moment later, and the one before it
// does not.
bool lightRuns(const KeyboardState& held, QPoint way, const QRect& keys)
{
    int forward = 0;
    int backward = 0;
    for (int frame = 0; frame < 50; ++frame) {
        const auto now = 1000000ms + frame * 331ms;
        const Picture before = pictureAt(held, now);
        const Picture after = pictureAt(held, now + 120ms);
        const auto red = [](const Picture& picture, QPoint key) {
            return int{picture.at(static_cast<std::size_t>(key.y() * columns + key.x()))[0]};
        };
        for (int row = keys.top(); row <= keys.bottom(); ++row) {
            for (int column = keys.left(); column <= keys.right(); ++column) {
                const QPoint key(column, row);
                forward += std::abs(red(after, key + way) - red(before, key));
                backward += std::abs(red(after, key - way) - red(before, key));
            }
        }
    }
    return forward < backward * 0.95;
}

const std::set<int> stillEffects{code("LED Off"), code("Static")};
const std::set<int> pressedEffects{code("SingleOn"), code("SingleOff")};
const std::set<int> directedEffects{code("Falling"),  code("Scrolling"), code("Rolling"),
                                    code("Rotating"), code("Launch"),    code("Flowing"),
                                    code("Tilt"),     code("Shuttle")};

bool movesByItself(int effect)
{
    return !stillEffects.contains(effect) && !pressedEffects.contains(effect);
}

} // namespace

class KeyboardEffectsTest : public QObject
{
    Q_OBJECT

    static void everyEffect()
    {
        QTest::addColumn<int>("effect");
        for (std::size_t effect = 0; effect < effectNames.size(); ++effect)
            QTest::newRow(effectNames[effect].data()) << static_cast<int>(effect);
    }

    static void effectsNamed(std::initializer_list<const char*> names)
    {
        QTest::addColumn<int>("effect");
        for (const char* name : names)
            QTest::newRow(name) << code(name);
    }

private slots:
    void everyEffectMovesAsItsNameSays_data() { everyEffect(); }
    void everyEffectMovesAsItsNameSays()
    {
        QFETCH(const int, effect);
        const KeyboardState held = heldBy(effect);
        QCOMPARE(movesAt(held, 1000000ms), movesByItself(effect));
        QCOMPARE(pictureAt(held, 1000000ms) != pictureAt(held, 1000300ms), movesByItself(effect));

        const std::vector<KeyPress> presses{pressOf(40, 999900ms)};
        const bool rests = stillEffects.contains(effect);
        QCOMPARE(movesAt(held, 1000000ms, presses), !rests);
        QCOMPARE(pictureAt(held, 1000000ms, presses) != pictureAt(held, 1000300ms, presses),
                 !rests);
    }

    void everyEffectLightsInTheChosenColorOnly_data() { everyEffect(); }
    void everyEffectLightsInTheChosenColorOnly()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        int strongest = 0;
        for (const Picture& picture : filmOf(held)) {
            for (const KeyColor& color : picture) {
                QVERIFY(std::abs(color[1] * 2 - color[0]) <= 2);
                QVERIFY(std::abs(color[2] * 5 - color[0]) <= 5);
                strongest = std::max<int>(strongest, color[0]);
            }
        }
        QVERIFY2(effect == code("LED Off") ? strongest == 0 : strongest > 170,
                 qPrintable(QString::number(strongest)));
    }

    void randomColorsAreMoreThanOne_data() { everyEffect(); }
    void randomColorsAreMoreThanOne()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        held.lighting[8] = 1;
        std::array<bool, 3> mostly{};
        for (const Picture& picture : filmOf(held)) {
            for (const KeyColor& color : picture) {
                const auto strongest = std::ranges::max_element(color);
                if (*strongest > 100)
                    mostly.at(static_cast<std::size_t>(strongest - color.begin())) = true;
            }
        }
        QCOMPARE(mostly == (std::array{true, true, true}), effect != code("LED Off"));
    }

    void brightnessDimsEvenly_data() { everyEffect(); }
    void brightnessDimsEvenly()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        const std::vector<KeyPress> presses{pressOf(40, 1000400ms)};
        const int full = brightness(pictureAt(held, 1000500ms, presses));
        QCOMPARE(full > 0, effect != code("LED Off"));
        for (std::uint8_t step = 0; step <= 5; ++step) {
            held.lighting[9] = step;
            const Picture picture = pictureAt(held, 1000500ms, presses);
            QVERIFY(std::abs(brightness(picture) * 5 - full * step) <= 5 * columns * rows);
        }
        held.lighting[9] = 0;
        QCOMPARE(brightness(pictureAt(held, 1000500ms, presses)), 0);
        QVERIFY(!movesAt(held, 1000500ms, presses));
    }

    void everyStepOfSpeedIsFaster_data() { everyEffect(); }
    void everyStepOfSpeedIsFaster()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        double slower = -1;
        for (std::uint8_t speed = 0; speed <= 5; ++speed) {
            held.lighting[10] = speed;
            const double now = pace(held);
            if (movesByItself(effect))
                QVERIFY2(now > slower * 1.05, qPrintable(QString::number(speed)));
            else
                QCOMPARE(now, 0.0);
            slower = now;
        }
    }

    void everyStepOfSpeedEndsAPressSooner_data() { effectsNamed({"SingleOn", "SingleOff"}); }
    void everyStepOfSpeedEndsAPressSooner()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        const int whole = effect == code("SingleOn") ? 0 : 200;
        int slower = 256;
        for (std::uint8_t speed = 0; speed <= 5; ++speed) {
            held.lighting[10] = speed;
            const Picture picture = pictureAt(held, 1000500ms, {pressOf(40, 1000000ms)});
            const int left = std::abs(picture[40][0] - whole);
            QVERIFY2(left < slower - 5, qPrintable(QString::number(speed)));
            slower = left;
        }
    }

    // A picture turned about shows what the opposite direction shows.
    void directionsAreMirrored_data()
    {
        effectsNamed({"Scrolling", "Rolling", "Rotating", "Tilt", "Shuttle"});
    }
    void directionsAreMirrored()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        std::array<Picture, 4> pictures;
        for (std::uint8_t direction = 0; direction < 4; ++direction) {
            held.lighting[11] = direction;
            pictures.at(direction) = pictureAt(held, 1000450ms);
        }
        for (std::size_t key = 0; key < columns * rows; ++key) {
            const std::size_t row = key / columns;
            const std::size_t column = key % columns;
            const auto isNear = [](const KeyColor& one, const KeyColor& other) {
                return std::abs(one[0] - other[0]) <= 1;
            };
            QVERIFY(isNear(pictures[0][key], pictures[3][row * columns + columns - 1 - column]));
            QVERIFY(isNear(pictures[1][key], pictures[2][(rows - 1 - row) * columns + column]));
        }
        QVERIFY(pictures[0] != pictures[1]);
        QVERIFY(pictures[0] != pictures[3]);
        QVERIFY(pictures[1] != pictures[2]);
    }

    // Some effects have no direction, and show the same in all of them.
    void allFourDirectionsDiffer_data() { everyEffect(); }
    void allFourDirectionsDiffer()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        std::vector<Picture> pictures;
        for (std::uint8_t direction = 0; direction < 4; ++direction) {
            held.lighting[11] = direction;
            pictures.push_back(pictureAt(held, 1000300ms, {pressOf(40, 1000000ms)}));
            for (std::size_t other = 0; other + 1 < pictures.size(); ++other)
                QCOMPARE(pictures[other] != pictures.back(), directedEffects.contains(effect));
        }
    }

    void lightRunsInItsDirection_data()
    {
        QTest::addColumn<int>("effect");
        QTest::addColumn<int>("direction");
        QTest::addColumn<QPoint>("way");
        for (const int effect : directedEffects) {
            if (effect == code("Rotating") || effect == code("Shuttle"))
                continue; // turns; goes there and back
            const auto row = [effect](const char* name, int direction, QPoint way) {
                QTest::addRow("%s, %s", effectNames.at(static_cast<std::size_t>(effect)).data(),
                              name)
                    << effect << direction << way;
            };
            row("right", 0, {1, 0});
            row("down", 1, {0, 1});
            row("up", 2, {0, -1});
            row("left", 3, {-1, 0});
        }
    }
    void lightRunsInItsDirection()
    {
        QFETCH(const int, effect);
        QFETCH(const int, direction);
        QFETCH(const QPoint, way);
        KeyboardState held = heldBy(effect);
        held.lighting[11] = static_cast<std::uint8_t>(direction);
        QVERIFY(lightRuns(held, way, {1, 1, columns - 2, rows - 2}));
    }

    void lightTurnsAndLeavesTheMiddle_data()
    {
        QTest::addColumn<int>("effect");
        QTest::addColumn<QPoint>("wayAtTheLeft");
        QTest::addColumn<QPoint>("wayAtTheRight");
        QTest::newRow("Rotating") << code("Rotating") << QPoint(0, -1) << QPoint(0, 1);
        QTest::newRow("Outward") << code("Outward") << QPoint(-1, 0) << QPoint(1, 0);
    }
    void lightTurnsAndLeavesTheMiddle()
    {
        QFETCH(const int, effect);
        QFETCH(const QPoint, wayAtTheLeft);
        QFETCH(const QPoint, wayAtTheRight);
        QVERIFY(lightRuns(heldBy(effect), wayAtTheLeft, {1, 1, 2, rows - 2}));
        QVERIFY(lightRuns(heldBy(effect), wayAtTheRight, {columns / 2 + 1, 1, 5, rows - 2}));
    }

    // The bright bar of the shuttle leaves the edge where the direction begins.
    void theShuttleStartsInItsDirection_data()
    {
        QTest::addColumn<int>("direction");
        QTest::addColumn<QPointF>("way");
        QTest::newRow("right") << 0 << QPointF(1, 0);
        QTest::newRow("down") << 1 << QPointF(0, 1);
        QTest::newRow("up") << 2 << QPointF(0, -1);
        QTest::newRow("left") << 3 << QPointF(-1, 0);
    }
    void theShuttleStartsInItsDirection()
    {
        QFETCH(const int, direction);
        QFETCH(const QPointF, way);
        KeyboardState held = heldBy(code("Shuttle"));
        held.lighting[10] = 0;
        held.lighting[11] = static_cast<std::uint8_t>(direction);
        const auto place = [&](std::chrono::milliseconds now) {
            const Picture picture = pictureAt(held, now);
            const auto spots = gridOfSpots();
            QPointF sum;
            double all = 0;
            for (std::size_t key = 0; key < picture.size(); ++key) {
                sum += QPointF(spots[key].x, spots[key].y) * picture[key][0];
                all += picture[key][0];
            }
            return sum / all;
        };
        // A beat lasts four seconds, and there and back are two beats.
        const QPointF step = place(2500ms) - place(1500ms);
        QVERIFY(QPointF::dotProduct(step, way) > 0.1);
    }

    void aPressedKeyLightsUpAndFades()
    {
        const KeyboardState held = heldBy(code("SingleOn"));
        const std::vector<KeyPress> presses{pressOf(40, 1000000ms)};
        const Picture early = pictureAt(held, 1000050ms, presses);
        const Picture later = pictureAt(held, 1000900ms, presses);
        QVERIFY(early[40][0] > 180);
        QVERIFY(later[40][0] > 20 && later[40][0] < early[40][0]);
        QCOMPARE(brightness(early), int{early[40][0]});
        QVERIFY(movesAt(held, 1000900ms, presses));
        QVERIFY(!movesAt(held, 1000000ms + longestPressEffect, presses));
        QCOMPARE(brightness(pictureAt(held, 1000000ms + longestPressEffect, presses)), 0);
    }

    void aPressedKeyGoesOutAndComesBack()
    {
        const KeyboardState held = heldBy(code("SingleOff"));
        const std::vector<KeyPress> presses{pressOf(40, 1000000ms)};
        QVERIFY(pictureAt(held, 1000050ms, presses)[40][0] < 20);
        QCOMPARE(pictureAt(held, 1000050ms, presses)[41][0], std::uint8_t{200});
        QCOMPARE(pictureAt(held, 1000000ms + longestPressEffect, presses)[40][0],
                 std::uint8_t{200});
    }

    void burstsStartAtPressedKeys_data() { effectsNamed({"Explode", "Launch", "Ripples"}); }
    void burstsStartAtPressedKeys()
    {
        QFETCH(const int, effect);
        const KeyboardState held = heldBy(effect);
        for (const std::size_t key : {0U, 40U, 95U}) {
            const Picture with = pictureAt(held, 1000120ms, {pressOf(key, 1000000ms)});
            QVERIFY(with[key][0] > 100);
        }
    }

    // Those that nobody launches come from the edge, so that one is always on its way.
    void shotsCrossTheWholeBoard()
    {
        const KeyboardState held = heldBy(code("Launch"));
        for (int frame = 0; frame < 100; ++frame)
            QVERIFY(brightness(pictureAt(held, 1000000ms + frame * 331ms)) > 200);
    }

    void customColorsAreThoseOfTheBank()
    {
        KeyboardState held = heldBy(customEffect);
        held.colorBank[3] = {10, 200, 100};
        QCOMPARE(pictureAt(held, 1000000ms)[3], (KeyColor{10, 200, 100}));
        QCOMPARE(pictureAt(held, 1000000ms)[4], KeyColor{});
        held.lighting[9] = 1;
        QCOMPARE(pictureAt(held, 1000000ms)[3], (KeyColor{2, 40, 20}));
        QVERIFY(!movesAt(held, 1000000ms));
    }
};

QTEST_GUILESS_MAIN(KeyboardEffectsTest)
#include "keyboard_effects_test.moc"
