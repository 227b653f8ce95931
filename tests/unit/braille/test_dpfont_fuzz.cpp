// The font reader against damaged and random files: seeded, so a failure
// repeats. Every loaded font must hold together (each glyph's bitmap as large
// as its size says) and give back all its memory; the sanitizer builds catch
// any read or write outside it.
#include "braille/dpfont.h"
#include "diag/diag.h"
#include "font_bytes.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace {

const std::string kExample = fontbytes::example();

class FontFuzz : public ::testing::Test {
protected:
    // The cases go to memory-backed storage where there is some: thousands of
    // small files are slow on a busy disk.
    void SetUp() override
    {
        std::string tmpl = "/dev/shm/pumex-fuzz-XXXXXX";
        dir = mkdtemp(&tmpl[0]) ? tmpl : root.path();
    }
    void TearDown() override
    {
        if (dir != root.path())
            std::filesystem::remove_all(dir);
    }

    // Loads the bytes and checks the font; returns false when no font came back.
    // Each case gets a new file: rewriting one file in place makes some file
    // systems flush it at every close.
    bool loadAndCheck(const std::string& content, int i)
    {
        const std::string path = dir + "/fuzz" + std::to_string(i) + ".dp";
        testkit::writeFile(path, content);
        DPFont* font = DPFont_new(testkit::wide(path).c_str());
        if (!font)
            return false;
        EXPECT_GE(font->numGlyphs, 0);
        EXPECT_EQ(font->name[DPFONT_NAME_CHARS], 0);
        unsigned dots = 0;
        for (INT i = 0; i < font->numGlyphs; ++i) {
            const DPGlyph* g = font->glyphs[i];
            EXPECT_NE(g, nullptr);
            if (!g)
                break;
            EXPECT_EQ(g->bytesPerRow, (g->width + 3) / 4);
            EXPECT_EQ(g->bits == nullptr, g->bytesPerRow * g->height == 0);
            for (INT r = 0; r < g->height; ++r)
                for (INT p = 0; p < g->width; ++p)
                    dots += DPGlyph_hasDot(g, r, p);
        }
        DPFont_delete(font);
        (void)dots;
        return true;
    }

    testkit::TempRoot root;
    std::string dir;
};

// Keeps most glyph counts small, so a run stays well under a second; one case
// in a few hundred keeps a count up to 65535.
void tameCount(std::string& s, std::mt19937& rng, int i)
{
    if (s.size() > 11 && i % 400 != 0) {
        s[10] = 0;
        s[11] = (char)(rng() % 8);
    }
}

TEST_F(FontFuzz, MutatedExamplesAndRandomFilesLoadSafely)
{
    std::mt19937 rng(20240531);
    const DWORD before = gTotalBytesAlloc;
    int loaded = 0;
    for (int i = 0; i < 4000; ++i) {
        std::string s;
        if (i % 4 != 3) {
            s = kExample;
            int edits = 1 + (int)(rng() % 4);
            for (int e = 0; e < edits; ++e) {
                size_t at = rng() % (s.size() + 1);
                if (s.empty()) {
                    s.assign(1, (char)rng());
                    continue;
                }
                switch (rng() % 5) {
                case 0: s[at % s.size()] = (char)rng(); break;                 // change a byte
                case 1: s[at % s.size()] ^= (char)(1u << (rng() % 8)); break;  // flip a bit
                case 2: s.insert(at, 1, (char)rng()); break;                   // insert a byte
                case 3: s.erase(at % s.size(), 1); break;                      // drop a byte
                case 4: s.resize(at); break;                                   // cut the file
                }
            }
        } else {
            s.resize(rng() % 300);
            for (char& c : s)
                c = (char)rng();
            if (rng() % 2 && s.size() >= 2) {
                s[0] = 'D';
                s[1] = 'P';
            }
        }
        tameCount(s, rng, i);
        loaded += loadAndCheck(s, i);
        ASSERT_EQ(gTotalBytesAlloc, before) << "iteration " << i;
    }
    EXPECT_GT(loaded, 1000);
}

}  // namespace
