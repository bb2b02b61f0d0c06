// Load Image and Save Image on files in temporary folders, made by hand and by ImageMagick.

#include "gfx/image_files.h"

#include <spng.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "desktop/folders.h"
#include "gfx/draw.h"
#include "gfx/png_write.h"
#include "sys/files.h"
#include "sys/system_calls.h"
#include "tests/support/gfx_fixture.h"
#include "tests/support/headless_run.h"
#include "vm/heap.h"

namespace moxi {

namespace {

void AddNumber(std::string& bytes, u32 value, u32 count) {
    for (u32 i = 0; i < count; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
}

struct BmpHeader {
    u32 fileSize = 0;  // 0: what it is
    u32 offset = 54;
    u32 width = 0, height = 0;
    u32 bits = 24;
    u32 compression = 0;
    u32 imageSize = 0;
};

std::string Bmp(const BmpHeader& header, const std::string& pixels) {
    std::string bytes = "BM";
    const u32 size = header.offset + static_cast<u32>(pixels.size());
    AddNumber(bytes, header.fileSize != 0 ? header.fileSize : size, 4);
    AddNumber(bytes, 0, 4);
    AddNumber(bytes, header.offset, 4);
    AddNumber(bytes, 40, 4);
    AddNumber(bytes, header.width, 4);
    AddNumber(bytes, header.height, 4);
    AddNumber(bytes, 1, 2);
    AddNumber(bytes, header.bits, 2);
    AddNumber(bytes, header.compression, 4);
    AddNumber(bytes, header.imageSize, 4);
    bytes.resize(header.offset);
    return bytes + pixels;
}

class ImageFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        StartGfxBench(1 << 20, 40, 30);
        std::filesystem::create_directories(Path("data"));
        std::filesystem::create_directories(Path("game"));
        folders.resources = Path("game");
        folders.dataOverride = Path("data");
        InitFolders();
    }
    void TearDown() override {
        ResetFiles();
        folders = {};
        EndGfxBench();
    }

    std::string Path(const std::string& name) const { return folder.path + "/" + name; }

    void Put(const std::string& name, const std::string& bytes) const {
        WriteTextFile(Path("data/" + name), bytes);
    }
    std::string Get(const std::string& name) const { return ReadTextFile(Path("data/" + name)); }
    bool Exists(const std::string& name) const {
        return std::filesystem::exists(Path("data/" + name));
    }

    // Runs ImageMagick in the data folder. Its own program, not whatever a shell would find.
    void Convert(const std::string& arguments) const {
        const std::string command = "cd '" + Path("data") + "' && /usr/bin/convert " + arguments;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    // Loads the bytes as a file.
    u32 Load(const std::string& bytes) const {
        Put("A", bytes);
        return LoadImage("A");
    }

    // No bitmap came of it, nothing stays locked, and the heap can be compacted to what it was.
    static void ExpectRefused(u32 handle) {
        EXPECT_EQ(handle, 0U);
        EXPECT_EQ(heapPointerCount, 0);
        CompactHeap();
        EXPECT_EQ(heapFree, kTestHeapStart + 4);
    }

    static std::vector<u32> Pixels(u32 handle) {
        StartSRC(handle);
        std::vector<u32> pixels;
        for (i32 y = 0; y < srcSelection.height; ++y) {
            for (i32 x = 0; x < srcSelection.width; ++x) {
                pixels.push_back(LoadBytes<u32>(PixelAt(srcSelection, x, y)));
            }
        }
        EndSRC();
        return pixels;
    }

    // The file as ImageMagick sees it: R, G, B, A bytes of each pixel.
    std::vector<u32> AsConverted(const std::string& name) const {
        Convert(name + " -depth 8 RGBA:converted");
        const std::string bytes = Get("converted");
        std::vector<u32> pixels;
        for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
            pixels.push_back(LoadBytes<u32>(reinterpret_cast<const u8*>(bytes.data() + i)));
        }
        return pixels;
    }

    TemporaryFolder folder;
};

// --- Which file it is

TEST_F(ImageFiles, AFileShorterThan20BytesOrWithNeitherSignatureLoadsAs0) {
    ExpectRefused(Load(""));
    ExpectRefused(Load("BM"));
    ExpectRefused(Load(std::string("\x89PNG\r\n\x1A\n", 8) + std::string(11, '\0')));
    ExpectRefused(Load(std::string(20, 'x')));
    ExpectRefused(Load("GIF89a" + std::string(50, '\0')));
}

TEST_F(ImageFiles, AMissingPictureLoadsAs0AndLeavesALine) {
    StandardError lines;
    ExpectRefused(LoadImage("PICTURES/missing"));
    EXPECT_EQ(lines.Text(), "log: picture PICTURES/missing: cannot be read\n");
}

TEST_F(ImageFiles, TheDataFolderGoesBeforeTheResources) {
    const BmpHeader header = {.width = 1, .height = 1};
    WriteTextFile(Path("game/A"), Bmp(header, std::string("\x01\x02\x03\x00", 4)));
    EXPECT_EQ(Pixels(LoadImage("A")), (std::vector<u32>{0xFF010203}));
    Put("A", Bmp(header, std::string("\x04\x05\x06\x00", 4)));
    EXPECT_EQ(Pixels(LoadImage("A")), (std::vector<u32>{0xFF040506}));
}

// --- BMP

TEST_F(ImageFiles, A24BitBmpOfWidth3UsesAFileRowStrideOf12Bytes) {
    const std::string pixels(
        "\x01\x02\x03\x04\x05\x06\x07\x08\x09zzz"
        "\x11\x12\x13\x14\x15\x16\x17\x18\x19zzz",
        24);
    const u32 bitmap = Load(Bmp({.width = 3, .height = 2}, pixels));
    // The bottom row comes first, and blue before red.
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0xFF111213, 0xFF141516, 0xFF171819, 0xFF010203,
                                                0xFF040506, 0xFF070809}));
    EXPECT_EQ(heapPointerCount, 0);
}

TEST_F(ImageFiles, TheRowStrideComesFromTheImageSizeWhenItIsGiven) {
    const std::string pixels("\x01\x02\x03zzzzz\x11\x12\x13zzzzz", 16);
    EXPECT_EQ(Pixels(Load(Bmp({.width = 1, .height = 2, .imageSize = 16}, pixels))),
              (std::vector<u32>{0xFF111213, 0xFF010203}));
}

TEST_F(ImageFiles, A32BitBmpKeepsItsAlpha) {
    const std::string pixels("\x01\x02\x03\x80\x11\x12\x13\x00", 8);
    EXPECT_EQ(Pixels(Load(Bmp({.width = 1, .height = 2, .bits = 32, .imageSize = 8}, pixels))),
              (std::vector<u32>{0x00111213, 0x80010203}));
}

TEST_F(ImageFiles, A32BitBmpWithoutAnImageSizeIsReadWithTheRowStrideOf24Bits) {
    // Width 2: the 24-bit stride is (6 + 3) / 4 * 4 = 8, which happens to be right. Width 1: 4,
    // too. Width 4: 12 instead of 16, so the second row starts with the first one's last pixel, and
    // its own last pixel is beyond the data, if that ends after 28 bytes.
    std::string pixels;
    for (u32 i = 1; i <= 7; ++i) {
        AddNumber(pixels, 0x01010101 * i, 4);
    }
    EXPECT_EQ(Pixels(Load(Bmp({.width = 4, .height = 2, .bits = 32}, pixels))),
              (std::vector<u32>{0x04040404, 0x05050505, 0x06060606, 0x07070707, 0x01010101,
                                0x02020202, 0x03030303, 0x04040404}));
}

TEST_F(ImageFiles, PixelsBeyondTheEndOfTheDataAre0) {
    const u32 bitmap = Load(Bmp({.width = 2, .height = 2}, std::string("\x01\x02\x03\x04", 4)));
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0xFF000000, 0xFF000000, 0xFF010203, 0xFF040000}));
}

TEST_F(ImageFiles, A16BitBmpOrACompressedBmpLoadsAs0) {
    for (const u32 bits : {0U, 1U, 4U, 8U, 16U, 23U}) {
        ExpectRefused(Load(Bmp({.width = 1, .height = 1, .bits = bits}, std::string(8, 'x'))));
    }
    for (const u32 compression : {1U, 2U, 3U, 4U}) {
        ExpectRefused(Load(Bmp({.width = 1, .height = 1, .bits = 32, .compression = compression},
                               std::string(8, 'x'))));
    }
    Convert("-size 5x4 xc:red -type palette -compress RLE BMP3:A");
    ExpectRefused(LoadImage("A"));
}

TEST_F(ImageFiles, ATopDownBmpIsRefusedAsTooLarge) {
    ExpectRefused(Load(Bmp({.width = 1, .height = 0xFFFFFFFF}, std::string(8, 'x'))));
}

TEST_F(ImageFiles, ABmpThatEndsBeforeItsHeaderSaysIsRefusedAndItsBitmapFreed) {
    ExpectRefused(Load(Bmp({.fileSize = 63, .width = 1, .height = 2}, std::string("12345678", 8))));
    ExpectRefused(Load(Bmp({.fileSize = 1, .width = 1, .height = 2}, std::string(8, 'x'))));
    // The info header reaches beyond the file.
    std::string bytes = Bmp({.width = 1, .height = 1}, std::string(4, 'x'));
    bytes[11] = 0x10;
    ExpectRefused(Load(bytes));
    bytes[10] = 13;
    bytes[11] = 0;
    ExpectRefused(Load(bytes));
}

TEST_F(ImageFiles, AnInfoHeaderThatIsTooShortCountsAs0) {
    // 14 + 16 bytes: everything up to the bits per pixel, no compression, no image size.
    std::string bytes = Bmp({.width = 1, .height = 1}, "").substr(0, 30);
    bytes[10] = 30;
    bytes[2] = 34;
    const u32 bitmap = Load(bytes + "\x01\x02\x03z");
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0xFF010203}));
    FreeBitmap(bitmap);
    // Without the bits per pixel there are too few of them.
    bytes = bytes.substr(0, 28);
    bytes[10] = 28;
    ExpectRefused(Load(bytes + "\x01\x02\x03z"));
}

TEST_F(ImageFiles, ALongerInfoHeaderIsSkipped) {
    const u32 bitmap = Load(Bmp({.offset = 138, .width = 1, .height = 1}, "\x01\x02\x03z"));
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0xFF010203}));
}

TEST_F(ImageFiles, HeightZeroGivesAnEmptyBitmap) {
    const u32 bitmap = Load(Bmp({.width = 7, .height = 0}, "zzzz"));
    ASSERT_NE(bitmap, 0U);
    EXPECT_EQ(moxi::Load<u32>(RecordAddress(bitmap) + kRecordWidth), 7U);
    EXPECT_EQ(moxi::Load<u32>(RecordAddress(bitmap) + kRecordHeight), 0U);
}

TEST_F(ImageFiles, FourBillionRowsOfNoPixelsAreAnEmptyBitmap) {
    const u32 bitmap = Load(Bmp({.width = 0, .height = 0xFFFFFFFF}, "zzzz"));
    ASSERT_NE(bitmap, 0U);
    EXPECT_EQ(moxi::Load<u32>(RecordAddress(bitmap) + kRecordHeight), 0xFFFFFFFF);
}

// --- What fits the heap

TEST_F(ImageFiles, APictureThatDoesNotFitTheHeapIsRefused) {
    const u32 room = heapStart + heapSize - heapFree;
    const u32 width = (room - 32) / 4;
    EXPECT_FALSE(BitmapFitsHeap(width + 1, 1));
    ExpectRefused(Load(Bmp({.width = width + 1, .height = 1, .bits = 32}, std::string(8, 'x'))));
    ExpectRefused(Load(Bmp({.width = 0x40000000, .height = 4}, std::string(8, 'x'))));
    ExpectRefused(Load(Bmp({.width = 0x80000001, .height = 2}, std::string(8, 'x'))));
    EXPECT_TRUE(BitmapFitsHeap(width, 1));
    EXPECT_NE(Load(Bmp({.width = width, .height = 1, .bits = 32}, std::string(8, 'x'))), 0U);
    EXPECT_LT(heapStart + heapSize - heapFree, 4U);
}

TEST_F(ImageFiles, AFreedBlockThatWouldBeReusedIsRoom) {
    const u32 old = CreateBitmap(100, 100);
    AllocHeap(heapStart + heapSize - heapFree);
    EXPECT_FALSE(BitmapFitsHeap(1, 1));
    FreeBitmap(old);
    EXPECT_TRUE(BitmapFitsHeap(100, 100));
    // 40,000 bytes serve requests above 38,976 (1,024 less).
    EXPECT_TRUE(BitmapFitsHeap(9745, 1));
    EXPECT_FALSE(BitmapFitsHeap(9744, 1));
    EXPECT_FALSE(BitmapFitsHeap(100, 101));
    ASSERT_NE(CreateBitmapIfItFits(100, 100), 0U);
}

TEST_F(ImageFiles, OneFreedBlockIsNotRoomForRecordAndPixelsAtOnce) {
    const u32 block = AllocHeap(40);
    AllocHeap(heapStart + heapSize - heapFree);
    FreeHeap(block);
    // The record takes the block of 40 bytes, and 32 bytes of pixels find nothing.
    EXPECT_FALSE(BitmapFitsHeap(8, 1));
}

TEST_F(ImageFiles, APngThatClaimsHugeDimensionsIsRefusedBeforeDecoding) {
    Convert("-size 3x2 xc:red PNG32:A");
    std::string bytes = Get("A");
    for (const char* size : {"\x03\xFF\xFF\xFF", "\x00\x00\xFF\xFF"}) {
        bytes.replace(16, 4, size, 4);
        bytes.replace(20, 4, size, 4);
        static std::size_t largest;
        largest = 0;
        const auto allocate = systemCalls.allocate;
        systemCalls.allocate = [](std::size_t count) {
            largest = std::max(largest, count);
            return std::malloc(count);
        };
        ExpectRefused(Load(bytes));
        systemCalls.allocate = allocate;
        EXPECT_EQ(largest, 0U);
    }
}

TEST_F(ImageFiles, WithoutMemoryAPictureIsRefused) {
    Convert("-size 3x2 xc:red PNG32:A");
    const auto allocate = systemCalls.allocate;
    systemCalls.allocate = [](std::size_t) -> void* { return nullptr; };
    const u32 png = LoadImage("A");
    const u32 bmp = Load(Bmp({.width = 1, .height = 1}, "zzzz"));
    systemCalls.allocate = allocate;
    ExpectRefused(png);
    ExpectRefused(bmp);
}

// --- PNG

TEST_F(ImageFiles, EveryPngColourTypeAndDepthLoadsAsImageMagickSeesIt) {
    // A picture with smooth and hard parts, 19 x 13 so that rows do not end with whole bytes.
    Convert("-size 19x13 plasma:fractal -seed 3 source.png");
    const struct {
        const char* name;
        const char* options;
    } kinds[] = {
        {"grey 1", "-colorspace gray -depth 1 -define png:color-type=0 -define png:bit-depth=1"},
        {"grey 2", "-colorspace gray -depth 2 -define png:color-type=0 -define png:bit-depth=2"},
        {"grey 4", "-colorspace gray -depth 4 -define png:color-type=0 -define png:bit-depth=4"},
        {"grey 8", "-colorspace gray -define png:color-type=0 -define png:bit-depth=8"},
        {"rgb 8", "-define png:color-type=2 -define png:bit-depth=8"},
        {"palette 1", "-colors 2 -define png:color-type=3 -define png:bit-depth=1"},
        {"palette 2", "-colors 4 -define png:color-type=3 -define png:bit-depth=2"},
        {"palette 4", "-colors 16 -define png:color-type=3 -define png:bit-depth=4"},
        {"palette 8", "-colors 200 -define png:color-type=3 -define png:bit-depth=8"},
        {"grey alpha 8",
         "-colorspace gray -alpha set -channel A -evaluate set 40% +channel "
         "-define png:color-type=4 -define png:bit-depth=8"},
        {"rgba 8",
         "-alpha set -channel A -evaluate set 40% +channel "
         "-define png:color-type=6 -define png:bit-depth=8"},
    };
    for (const auto& kind : kinds) {
        for (const char* interlace : {"none", "PNG"}) {
            SCOPED_TRACE(std::string(kind.name) + " interlace " + interlace);
            Convert(std::string("source.png -strip ") + kind.options + " -interlace " + interlace +
                    " PNG:A");
            const u32 bitmap = LoadImage("A");
            ASSERT_NE(bitmap, 0U);
            EXPECT_EQ(Pixels(bitmap), AsConverted("PNG:A"));
            FreeBitmap(bitmap);
            CompactHeap();
        }
    }
}

TEST_F(ImageFiles, SixteenBitChannelsAreCutToTheirHighBytes) {
    Convert(
        "-size 19x13 plasma:fractal -seed 3 -alpha set -channel A -evaluate set 40% +channel "
        "-depth 16 -define png:color-type=6 -define png:bit-depth=16 PNG:A");
    Convert("PNG:A -depth 16 -endian MSB RGBA:wide");
    const std::string wide = Get("wide");
    const std::vector<u32> pixels = Pixels(LoadImage("A"));
    ASSERT_EQ(pixels.size(), 247U);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        for (u32 channel = 0; channel < 4; ++channel) {
            EXPECT_EQ(pixels[i] >> (8 * channel) & 0xFF,
                      static_cast<u8>(wide[i * 8 + std::size_t{channel} * 2]));
        }
    }
}

// One pixel written by hand, with any chunks before the picture.
std::string OnePixelPng(u8 colourType, const std::string& chunks, const std::string& row) {
    const auto big = [](u32 value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes += static_cast<char>(value >> shift);
        }
        return bytes;
    };
    // Checksums are all wrong, which must not matter; the deflate stream is one stored block.
    const auto chunk = [&](const std::string& type, const std::string& data) {
        return big(static_cast<u32>(data.size())) + type + data + "crc!";
    };
    const std::string header = big(1) + big(1) + std::string(1, 8) +
                               std::string(1, static_cast<char>(colourType)) + std::string(3, '\0');
    const u8 size = static_cast<u8>(row.size());
    const std::string stream = std::string("\x78\x01\x01", 3) +
                               std::string(1, static_cast<char>(size)) + std::string(1, '\0') +
                               std::string(1, static_cast<char>(~size)) + "\xFF" + row + "adlr";
    std::string file("\x89PNG\r\n\x1A\n", 8);
    file += chunk("IHDR", header);
    for (std::size_t i = 0; i < chunks.size();) {
        const u8 length = static_cast<u8>(chunks[i]);
        file += chunk(chunks.substr(i + 1, 4), chunks.substr(i + 5, length));
        i += 5U + length;
    }
    return file + chunk("IDAT", stream) + chunk("IEND", "");
}

TEST_F(ImageFiles, ChecksumsGammaAndTransparentColoursDoNotMatter) {
    const std::string row("\0\x0A\x14\x1E", 4);
    EXPECT_EQ(Pixels(Load(OnePixelPng(2, "", row))), (std::vector<u32>{0xFF1E140A}));
    const std::string gamma = std::string("\x04gAMA", 5) + std::string("\0\0\x0F\xA0", 4);
    EXPECT_EQ(Pixels(Load(OnePixelPng(2, gamma, row))), (std::vector<u32>{0xFF1E140A}));
    // tRNS names exactly this colour as transparent.
    const std::string key = std::string("\x06tRNS", 5) + std::string("\0\x0A\0\x14\0\x1E", 6);
    EXPECT_EQ(Pixels(Load(OnePixelPng(2, key, row))), (std::vector<u32>{0xFF1E140A}));
    const std::string palette =
        std::string("\x03PLTE\x0A\x14\x1E", 8) + std::string("\x01tRNS\0", 6);
    EXPECT_EQ(Pixels(Load(OnePixelPng(3, palette, std::string("\0\0", 2)))),
              (std::vector<u32>{0xFF1E140A}));
}

TEST_F(ImageFiles, ColoursUnderZeroAlphaStay) {
    EXPECT_EQ(Pixels(Load(OnePixelPng(6, "", std::string("\0\x0A\x14\x1E\0", 5)))),
              (std::vector<u32>{0x001E140A}));
}

TEST_F(ImageFiles, ABrokenPngLeavesNoBitmap) {
    Convert("-size 19x13 plasma:fractal -seed 3 PNG32:A");
    const std::string bytes = Get("A");
    // Up to the last byte of the picture's data; what follows is not needed.
    const std::size_t data = bytes.find("IDAT");
    const std::size_t end = data + 4 + std::size_t{static_cast<u8>(bytes[data - 2])} * 256 +
                            static_cast<u8>(bytes[data - 1]);
    for (std::size_t size = 20; size < end - 8; size += 7) {
        SCOPED_TRACE(size);
        ExpectRefused(Load(bytes.substr(0, size)));
    }
    // A palette picture without its palette, and a header of the wrong length.
    ExpectRefused(Load(OnePixelPng(3, "", std::string("\0\0", 2))));
    std::string header = bytes;
    header[11] = 12;
    ExpectRefused(Load(header));
}

// --- Saving

TEST_F(ImageFiles, ASavedBmpHasExactlyItsHeadersAndTheRowsFromTheBottomUp) {
    const u32 bitmap = CreateBitmap(2, 2);
    SetPixel(bitmap, 0, 0, 0x44332211);
    SetPixel(bitmap, 1, 0, 0x88776655);
    SetPixel(bitmap, 0, 1, 0xCCBBAA99);
    SetPixel(bitmap, 1, 1, 0x00FFEEDD);
    EXPECT_EQ(SaveImage(bitmap, "A", 0), 1U);
    std::string expected = "BM";
    for (const u32 word : {70U, 0U, 54U, 40U, 2U, 2U}) {
        AddNumber(expected, word, 4);
    }
    AddNumber(expected, 1, 2);
    AddNumber(expected, 32, 2);
    for (const u32 word : {0U, 16U, 2947U, 2947U, 0U, 0U}) {
        AddNumber(expected, word, 4);
    }
    expected += "\xBB\xAA\x99\xCC";
    expected += std::string("\xFF\xEE\xDD\x00", 4);
    expected += "\x33\x22\x11\x44\x77\x66\x55\x88";
    EXPECT_EQ(Get("A"), expected);
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0x44332211, 0x88776655, 0xCCBBAA99, 0x00FFEEDD}));
    EXPECT_EQ(heapPointerCount, 0);
}

TEST_F(ImageFiles, SavingRedAsPngGivesAFilePixelOfBlue) {
    const u32 bitmap = MakeBitmap(1, 1, 0xFF0000FF);
    EXPECT_EQ(SaveImage(bitmap, "A.png", 1), 1U);
    EXPECT_EQ(AsConverted("A.png"), (std::vector<u32>{0xFFFF0000}));
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0xFF0000FF}));
    // Loading does not exchange, so a picture that is saved and loaded has changed.
    EXPECT_EQ(Pixels(LoadImage("A.png")), (std::vector<u32>{0xFFFF0000}));
}

TEST_F(ImageFiles, OurFilesAreReadBackByImageMagick) {
    const u32 bitmap = CreateBitmap(37, 21);
    std::vector<u32> exchanged;
    for (i32 y = 0; y < 21; ++y) {
        for (i32 x = 0; x < 37; ++x) {
            const u32 red = static_cast<u32>(x * 6);
            const u32 green = static_cast<u32>(y * 11);
            const u32 blue = static_cast<u32>(x * y % 256);
            SetPixel(bitmap, x, y, 0xFF000000 | blue << 16 | green << 8 | red);
            exchanged.push_back(0xFF000000 | red << 16 | green << 8 | blue);
        }
    }
    EXPECT_EQ(SaveImage(bitmap, "A.png", 1), 1U);
    EXPECT_EQ(AsConverted("A.png"), exchanged);
    EXPECT_EQ(SaveImage(bitmap, "A.bmp", 0), 1U);
    EXPECT_EQ(AsConverted("A.bmp"), Pixels(bitmap));
}

TEST_F(ImageFiles, APngIsEightBitRgbaWithoutInterlace) {
    EXPECT_EQ(SaveImage(MakeBitmap(3, 2, 0x80FFFFFF), "A", 1), 1U);
    EXPECT_EQ(Get("A").substr(0, 29),
              std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x02\x08\x06\0\0\0", 29));
}

TEST_F(ImageFiles, TheScreenCanBeSaved) {
    EXPECT_EQ(SaveImage(kScreenBitmap, "A.png", 1), 1U);
    EXPECT_EQ(AsConverted("A.png"), std::vector<u32>(std::size_t{40} * 30, 0xFF000000));
    EXPECT_EQ(SaveImage(kScreenBitmap, "A.bmp", 0), 1U);
    EXPECT_EQ(Pixels(LoadImage("A.bmp")), std::vector<u32>(std::size_t{40} * 30, 0xFF000000));
}

TEST_F(ImageFiles, SaveWithFormat2Returns0WithoutTouchingTheFileSystem) {
    EXPECT_EQ(SaveImage(MakeBitmap(1, 1, 0), "A", 2), 0U);
    EXPECT_EQ(SaveImage(MakeBitmap(1, 1, 0), "A", 0xFFFFFFFF), 0U);
    EXPECT_FALSE(Exists("A"));
}

TEST_F(ImageFiles, AnEmptyBitmapIsNoPngButABmpOfHeaders) {
    const u32 empty = CreateBitmap(3, 0);
    EXPECT_EQ(SaveImage(empty, "A", 1), 0U);
    EXPECT_EQ(SaveImage(CreateBitmap(0, 3), "A", 1), 0U);
    EXPECT_FALSE(Exists("A"));
    EXPECT_EQ(SaveImage(empty, "A", 0), 1U);
    EXPECT_EQ(Get("A").size(), 54U);
    EXPECT_EQ(heapPointerCount, 0);
}

TEST_F(ImageFiles, AFileThatCannotBeMadeGives0) {
    std::filesystem::create_directories(Path("data/A"));
    const u32 bitmap = MakeBitmap(1, 1, 0x11223344);
    EXPECT_EQ(SaveImage(bitmap, "A", 0), 0U);
    EXPECT_EQ(SaveImage(bitmap, "A", 1), 0U);
    EXPECT_EQ(Pixels(bitmap), (std::vector<u32>{0x11223344}));
    EXPECT_EQ(heapPointerCount, 0);
}

TEST_F(ImageFiles, AWriteThatComesShortGives0AndLeavesTheBitmapAsItWas) {
    const u32 bitmap = MakeBitmap(200, 1, 0x11223344);
    static std::size_t room;
    const auto write = systemCalls.write;
    for (const u32 bytes : {0U, 13U, 14U, 53U, 54U, 100U, 853U}) {
        room = bytes;
        systemCalls.write = [](const void* data, std::size_t count, std::FILE* stream) {
            const std::size_t part = std::min(count, room);
            room -= part;
            return std::fwrite(data, 1, part, stream);
        };
        EXPECT_EQ(SaveImage(bitmap, "A", 0), 0U) << bytes;
        EXPECT_EQ(Get("A").size(), bytes);
        room = bytes / 20;
        EXPECT_EQ(SaveImage(bitmap, "B", 1), 0U) << bytes;
        EXPECT_EQ(heapPointerCount, 0);
    }
    room = 854;
    EXPECT_EQ(SaveImage(bitmap, "A", 0), 1U);
    systemCalls.write = write;
    EXPECT_EQ(Pixels(bitmap), std::vector<u32>(200, 0x11223344));
}

TEST_F(ImageFiles, ABitmapThatLeadsOutOfTheImageIsAMemoryFault) {
    const u32 bitmap = CreateBitmap(4, 4);
    Store<u32>(RecordAddress(bitmap) + kRecordHeight, 1 << 20);
    EXPECT_EQ(EndStatus([&] { SaveImage(bitmap, "A", 0); }), 1);
}

TEST_F(ImageFiles, LargeBitmapsAreWrittenInManyPieces) {
    const u32 bitmap = CreateBitmap(256, 700);
    for (i32 y = 0; y < 700; ++y) {
        SetPixel(bitmap, 5, y, 0xFF000000 + static_cast<u32>(y));
    }
    const std::vector<u32> before = Pixels(bitmap);
    EXPECT_EQ(SaveImage(bitmap, "A", 0), 1U);
    FreeBitmap(bitmap);
    CompactHeap();
    EXPECT_EQ(Pixels(LoadImage("A")), before);
}

}  // namespace

}  // namespace moxi
