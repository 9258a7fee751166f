#include "orvpackage/service_collections.h"

#include "orvpackage/crypt.h"
#include "orvpackage/package_fixture.h"
#include "support/text.h"

namespace {

class ServiceTest : public PackageTest {
protected:
    COrvCreateService& Create(const char16_t* name) {
        return *m_package.Get<COrvCreateServicesCollection>().AddItem(name);
    }
    // The attributes behind the name and the program of a service that is read with these.
    std::string SavedAfterReading(const std::string& attributes) {
        m_package.Get<COrvCreateServicesCollection>().Clear();
        Read("<CreateServices><Service Name=\"s\" Binary=\"b\" " + attributes +
             "/></CreateServices>");
        return SavedItems();
    }
};

TEST_F(ServiceTest, WritesAllOfAService) {
    CDoubleNullStringW dependencies;
    dependencies.Add(u"+Group 50%");
    dependencies.Add(uR"(C:\Program Files)");
    COrvCreateService& service = Create(u"a%b");
    service.SetServiceType(272);
    service.SetStartType(2);
    service.SetErrorControl(3);
    service.SetDisplayName(uR"(50% C:\Program Files)");
    service.SetDescription(u"d");
    service.SetBinary(uR"(%SystemDrive%\s.exe)");
    service.SetArguments(uR"(-f C:\Program Files\x 5%)");
    service.SetLoadOrder(u"g");
    service.SetDependencies(dependencies);
    service.SetUsername(uR"(.\u)");
    service.SetEncryptedPassword(u"0A");
    EXPECT_EQ(SavedItems(),
              "<CreateServices>\n<Service Name=\"a%b\" ServiceType=\"272\" StartType=\"2\" "
              "ErrorControl=\"3\" DisplayName=\"50% C:\\Program Files\" Description=\"d\" "
              "Binary=\"%SystemDrive%\\s.exe\" Arguments=\"-f %CSIDL_PROGRAM_FILES%\\x 5|%\" "
              "LoadOrder=\"g\" Dependencies=\"+Group 50%\\0C:\\\\Program Files\\0\\0\" "
              "Username=\".\\u\" EncryptedPassword=\"0A\" />\n</CreateServices>\n");
}

TEST_F(ServiceTest, NeedsATypeAndAProgram) {
    Create(u"1").SetServiceType(16);
    Create(u"2").SetBinary(u"b");
    Create(u"").SetBinary(u"b");
    EXPECT_EQ(SavedItems(), "<CreateServices>\n</CreateServices>\n");
    EXPECT_EQ(m_package.Get<COrvCreateServicesCollection>().AddItem(u"1"), nullptr);
}

TEST_F(ServiceTest, ReadsNumbersAndNamesWithinTheirLimits) {
    const std::string nothing = "<CreateServices>\n</CreateServices>\n";
    EXPECT_EQ(SavedAfterReading(R"(ServiceType="4")"), nothing);
    EXPECT_EQ(SavedAfterReading(R"(ServiceType="16x")"), nothing);
    const struct {
        std::string attributes;
        std::string written;
    } kCases[] = {
        {"", R"(StartType="4" ErrorControl="1" Binary="b" />)"},
        {R"(StartType="9" ErrorControl="4")", R"(StartType="4" ErrorControl="1" Binary="b" />)"},
        {R"(StartType="0" ErrorControl="0x3")", R"(StartType="0" ErrorControl="3" Binary="b" />)"},
        {"DisplayName=\"" + std::string(256, 'x') + '"',
         "DisplayName=\"" + std::string(256, 'x') + '"'},
        {"DisplayName=\"" + std::string(257, 'x') + '"', R"(ErrorControl="1" Binary="b" />)"},
        {R"(Password="p" EncryptedPassword="00")", R"( EncryptedPassword="00" />)"},
        {R"(EncryptedPassword="00" Password="")",
         " EncryptedPassword=\"" + Utf8(EncryptPassword(u"")) + "\" />"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.attributes);
        const std::string text = SavedAfterReading("ServiceType=\"0x10\" " + test.attributes);
        EXPECT_NE(text.find("ServiceType=\"16\""), std::string::npos) << text;
        EXPECT_NE(text.find(test.written), std::string::npos) << text;
        EXPECT_EQ(text.find(" Password="), std::string::npos);
    }
}

TEST_F(ServiceTest, DeletedServiceIsANameAlone) {
    m_package.Get<COrvDeleteServicesCollection>().AddItem(u"50%");
    EXPECT_EQ(SavedItems(), "<DeleteServices>\n<Service Name=\"50%\" />\n</DeleteServices>\n");
}

TEST_F(ServiceTest, ArgumentsOfAControlledServiceArePortable) {
    CDoubleNullStringW arguments;
    arguments.Add(uR"(%SystemDrive%\x)");
    arguments.Add(u"50%");
    auto& services = m_package.Get<COrvControlServicesCollection>();
    services.AddItem(u"s")->SetArguments(arguments);
    EXPECT_EQ(SavedItems(),
              "<ControlServices>\n<Service Name=\"s\" Action=\"1\" "
              "Arguments=\"%SystemDrive%\\\\x\\050|%\\0\\0\" />\n</ControlServices>\n");
    services.Clear();
    Read(R"(<ControlServices><Service Name="s" Action="1a"/></ControlServices>)");
    EXPECT_EQ(SavedItems(),
              "<ControlServices>\n<Service Name=\"s\" Action=\"20\" />\n</ControlServices>\n");
}

TEST_F(ServiceTest, ArgumentsAreDesanitizedAsOneText) {
    // The backslash that the token brings separates like any other with a zero behind it.
    Read(R"(<ControlServices><Service Name="s" Arguments="%SystemDrive%0a\0b|\0%c"/>)"
         R"(</ControlServices>)");
    EXPECT_NE(SavedItems().find(R"(Arguments="C:\0a\0b||\0|%c\0\0")"), std::string::npos)
        << SavedItems();
}

}  // namespace
