#include "discovery/service_processor.h"

#include "orvpackage/multi_string.h"
#include "orvpackage/service_collections.h"
#include "platform/registry.h"
#include "support/hive_builder.h"
#include "support/machine.h"
#include "support/test.h"

namespace {

TEST(ServiceProcessorTest, RecordsGoToEveryPackageAndNeverInPlaceOfAnItem) {
    CServiceProcessor processor;
    CServiceInfo& service = processor.FindOrAdd(u"app");
    service.Type = 288;
    service.Start = 5;
    service.SetImagePath(uR"("C:\a b\app.exe" -x)");
    COrvPackage package;
    auto& services = package.Get<COrvCreateServicesCollection>();
    const COrvCreateService* const item = services.AddItem(u"App");
    processor.Apply(package);
    EXPECT_EQ(services.GetCount(), 1U);
    EXPECT_EQ(item->GetContent().serviceType, 0U);
    COrvPackage next;
    processor.Apply(next);
    const COrvCreateService* const added =
        COrvItemCItr<COrvCreateService>(next.Get<COrvCreateServicesCollection>()).Get();
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(Utf8(added->GetName()), "app");
    EXPECT_EQ(added->GetContent().serviceType, 288U);
    EXPECT_EQ(added->GetContent().startType, 4U);
    EXPECT_EQ(Utf8(added->GetContent().binary + u'|' + added->GetContent().arguments),
              R"(C:\a b\app.exe|-x)");
    // A key alone makes a record too.
    const CRegPathW key(uR"(HKLM\system\currentcontrolset\services\Named)");
    EXPECT_FALSE(processor.CheckKey(key, 1));
    processor.Apply(next);
    EXPECT_EQ(next.Get<COrvCreateServicesCollection>().GetCount(), 2U);
}

TEST(ServiceInfoTest, ImagePathIsSplitWhereItsProgramEnds) {
    const CTempFolder folder;
    const std::u16string program = folder.WriteFile("Program Files/App/svc.exe");
    const CTestMachine machine =
        CTestMachine().Environment(u"ProgramFiles", folder.Name("Program Files"));
    const std::u16string other = folder.Name("Program Files/App/other.exe -run");
    const std::u16string up = folder.Name("no App/b c/../../Program Files/App/svc.exe");
    const std::tuple<std::u16string, std::u16string, std::u16string> paths[] = {
        {u"\"C:\\a b\\svc.exe\" -x  ", uR"(C:\a b\svc.exe)", u"-x"},
        {u"\"C:\\a b\\svc.exe", uR"(C:\a b\svc.exe)", u""},
        {program + u" -run now", program, u"-run now"},
        {uR"(%ProgramFiles%\App\svc.exe  -run)", uR"(%ProgramFiles%\App\svc.exe)", u"-run"},
        {other, other, u""},
        {up + u" -run", up, u"-run"},
        {uR"(\SystemRoot\driver.sys)", uR"(\SystemRoot\driver.sys)", u""},
        {u"C:\\svc.exe /s", u"", u""},
        {u"\"", u"", u""},
        {u" ", u" ", u""},
    };
    CServiceInfo service;
    for (const auto& [text, binary, arguments] : paths) {
        service.SetImagePath(CStrW(text));
        EXPECT_EQ(service.Binary.ToString(), CStrW(binary));
        EXPECT_EQ(service.Arguments, CStrW(arguments));
    }
}

// Every blank ends one more path that could be looked up, deeper each time.
TEST(ServiceInfoTest, WhatIsInNoFolderIsNotLookedUpAtEveryBlank) {
    std::u16string text = CTempFolder().Name();
    while (text.size() < 32000) {
        text += uR"(\a )";
    }
    CServiceInfo service;
    for (int i = 0; i < 100; ++i) {
        service.SetImagePath(CStrW(text));
        ASSERT_EQ(service.Binary.ToPlainString(), CStrW(text));
    }
}

// A hive of services under the name that the machine's own would have.
TEST(ServiceProcessorTest, ValuesGoToTheRecordInTheirOneType) {
    const CTestMachine described;
    const CTempFolder folder;
    CTestHive hive;
    hive.Key(uR"(CurrentControlSet\Services\App)").Dword(u"Type", 16).String(u"Start", u"2");
    hive.Dword(u"ERRORCONTROL", 3).String(u"DisplayName", u"The App").String(u"Group", u"G");
    hive.ExpandString(u"Description", u"wrong").ExpandString(u"ImagePath", u"a.exe");
    hive.MultiString(u"DependOnGroup", {u"A", u"B"}).MultiString(u"DependOnService", {u"C"});
    hive.String(u"ObjectName", u"localSYSTEM");
    platform::KeyHandle machine = nullptr;
    ASSERT_EQ(platform::ConnectMachine(machine), 0);
    ASSERT_EQ(platform::LoadHive(machine, u"SYSTEM",
                                 folder.WriteFile("hive", hive.LoadableBytes()).c_str()),
              0);
    CServiceProcessor processor;
    const CRegPathW key(uR"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\App)");
    for (const char16_t* name :
         {u"Type", u"Start", u"ErrorControl", u"DisplayName", u"Description", u"ImagePath",
          u"DependOnGroup", u"DependOnService", u"ObjectName", u"missing"}) {
        EXPECT_FALSE(processor.CheckValue(key, name, 1));
    }
    EXPECT_FALSE(processor.CheckValue(key, u"Group", 3));
    EXPECT_EQ(platform::UnloadHive(machine, u"SYSTEM"), 0);
    platform::CloseKey(machine);
    const CServiceInfo& service = processor.FindOrAdd(u"App");
    EXPECT_EQ(service.Type, 16U);
    EXPECT_EQ(service.Start, 4U);
    EXPECT_EQ(service.ErrorControl, 3U);
    EXPECT_EQ(Utf8(service.DisplayName), "The App");
    EXPECT_EQ(Utf8(service.Binary.ToString()), "a.exe");
    EXPECT_EQ(Utf8(FormatMultiString(service.Dependencies)), R"(+A\0+B\0C\0\0)");
    EXPECT_EQ(Utf8(service.Description + service.Group + service.ObjectName), "");
}

}  // namespace
