// Writes the first inputs of hive_fuzzer: `make_hive_corpus FOLDER`.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>

#include "support/hive_builder.h"
#include "support/hive_log_builder.h"
#include "support/little_endian.h"
#include "support/text.h"

namespace {

// A small hive of every form that a reader must know.
CTestHive MakeHive(std::uint32_t version, EHiveList list, std::size_t partSize) {
    CTestHive hive;
    hive.Version(version).Lists(list, partSize);
    hive.Key(u"A\\B\\C").String(u"", u"text").Dword(u"d", 1).Qword(u"q", 2);
    hive.Key(u"A\\D").MultiString(u"m", {u"a", u"b"}).ExpandString(u"e", u"%a%");
    hive.Key(std::u16string(u"nul\0x", 5)).Binary(std::u16string(u"v\0x", 3), "123456");
    hive.WideNames().Key(u"\u041A\\\xD800").Value(u"\xDC00", 0x77, "x").WideNames(false);
    return hive;
}

std::string Divided(std::initializer_list<std::string> parts) {
    std::string bytes = "logs";
    for (const std::string& part : parts) {
        AppendNumber(bytes, part.size(), 4);
        bytes += part;
    }
    return bytes;
}

std::string MakeDirtyHive(bool hasVector) {
    CTestHive source;
    source.Sequences(3, 2).Key(u"First");
    const std::string before = source.Bytes();
    const std::string after = source.Key(u"Second").Binary(u"v", std::string(5000, 'x')).Bytes();
    if (hasVector) {
        return Divided({before, MakeDirtyVectorLog(before, after)});
    }
    return Divided({before, CTestHiveLog(before).Entry(2, before, after).Bytes(),
                    CTestHiveLog(before).Entry(3, before, before).Bytes()});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_hive_corpus FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    CTestHive many = MakeHive(5, EHiveList::Lh, 8);
    for (int i = 0; i < 40; ++i) {
        const std::u16string name = Utf16("n" + std::to_string(i));
        many.Key(u"Values").Dword(name, 1).Key(u"Keys\\" + name);
    }
    const SHiveCell list = {SHiveCell::SubKeys, u"A"};
    const std::string inputs[] = {
        MakeHive(2, EHiveList::Li, 100).Bytes(),
        MakeHive(3, EHiveList::Lf, 2).Bytes(),
        MakeHive(5, EHiveList::Lh, 1).Bytes(),
        MakeHive(5, EHiveList::Li, 1).Bytes(),
        MakeHive(5, EHiveList::Lh, 100).Binary(u"l", std::string(16345, 'x')).Bytes(),
        MakeHive(3, EHiveList::Lh, 100).Binary(u"l", "db" + std::string(16345, 'x')).Bytes(),
        MakeHive(6, EHiveList::Lh, 100).Link(list, 4, {SHiveCell::Key, u""}).Bytes(),
        MakeHive(6, EHiveList::Lh, 100).Link(list, 4, {SHiveCell::Key, u"A\\D"}).Bytes(),
        many.Bytes(),
        MakeDirtyHive(true),
        MakeDirtyHive(false),
    };
    int number = 0;
    for (const std::string& input : inputs) {
        std::ofstream file(folder / ("hive" + std::to_string(number++)), std::ios::binary);
        file.write(input.data(), static_cast<std::streamsize>(input.size()));
    }
    return 0;
}
