// Declarations as definition records spell them.
#include "host/syntax/declaration_parser.h"

#include <gtest/gtest.h>

using namespace host;

namespace {

struct Accepted {
    const char* text;
    const char* formatted;
};

TEST(Declarations, AreReadAsRecordsSpellThem) {
    const Accepted CASES[] = {
        {"Parse(s as String, isFinal as Boolean)", "Parse(s As String, isFinal As Boolean)"},
        {"LenB( s as string ) as integer", "LenB(s As string) As integer"},
        {"Item (index as Integer) as XmlNode", "Item(index As Integer) As XmlNode"},
        {"Xql(query as String, map() as String) as XmlNodeList",
         "Xql(query As String, map() As String) As XmlNodeList"},
        {"Read(Count as Integer, enc as TextEncoding = nil) as String",
         "Read(Count As Integer, enc As TextEncoding = Nil) As String"},
        {"Constructor()", "Constructor()"},
        {"DocumentElement as XmlElement", "DocumentElement As XmlElement"},
        {"Split(source as String, delimiter as String = \" \"\"\") as String()",
         "Split(source As String, delimiter As String = \" \"\"\") As String()"},
        {"F(a as Integer = -2147483648, b as Double = 1.0, c as Boolean = true)",
         "F(a As Integer = -2147483648, b As Double = 1.0, c As Boolean = True)"},
        {"Swap(ByRef a as Integer, byVal b() as Double)", "Swap(ByRef a As Integer, b() As Double)"},
        // Keywords are names where only a name can stand.
        {"Next(step as Integer, end as Integer, byref as Boolean) as Loop",
         "Next(step As Integer, end As Integer, byref As Boolean) As Loop"},
        {"Default(class as String, to as String)", "Default(class As String, to As String)"},
    };
    for (const Accepted& row : CASES) {
        DeclarationError error;
        auto declaration = ParseDeclaration(row.text, &error);
        ASSERT_TRUE(declaration) << row.text << ": " << error.message;
        EXPECT_EQ(FormatDeclaration(*declaration), row.formatted);
    }
}

struct Refused {
    const char* text;
    uint32_t offset;
    const char* message;
};

TEST(Declarations, AreRefusedWithThePlaceOfTheError) {
    const Refused CASES[] = {
        {"", 0, "expected a name, found the end of the line"},
        {"Parse(s as)", 10, "expected a type, found \")\""},
        {"Parse(s String)", 8, "expected \"As\", found \"String\""},
        {"Parse(s as String", 17, "expected \",\" or \")\", found the end of the line"},
        {"Parse(s as String,)", 18, "expected a parameter, found \")\""},
        {"Parse(s as String) String", 19, "expected the end of the declaration, found \"String\""},
        {"Parse(s as String = x)", 20, "expected a constant, found \"x\""},
        {"Parse(s as Integer = -\"a\")", 21, "expected a constant, found a string"},
        {"Parse()\nas String", 7, "expected the end of the declaration, found the end of the line"},
    };
    for (const Refused& row : CASES) {
        DeclarationError error;
        EXPECT_FALSE(ParseDeclaration(row.text, &error)) << row.text;
        EXPECT_EQ(error.message, row.message) << row.text;
        EXPECT_EQ(error.offset, row.offset) << row.text;
    }
}

TEST(Declarations, OfConstantsHaveAValue) {
    auto quantifier = ParseConstantDeclaration("XML_CQUANT_OPT = 1");
    ASSERT_TRUE(quantifier);
    EXPECT_EQ(quantifier->name, "XML_CQUANT_OPT");
    EXPECT_EQ(quantifier->value, ConstantValue(int32_t{1}));
    EXPECT_EQ(ParseConstantDeclaration("Low = -2147483648")->value, ConstantValue(INT32_MIN));
    EXPECT_EQ(ParseConstantDeclaration("Text = \"a\"\"b\"")->value, ConstantValue(std::string("a\"b")));
    EXPECT_FALSE(ParseConstantDeclaration("High = 9223372036854775808"));
    EXPECT_FALSE(ParseConstantDeclaration("Name"));
    EXPECT_FALSE(ParseConstantDeclaration("Name = 1 2"));
}

} // namespace
