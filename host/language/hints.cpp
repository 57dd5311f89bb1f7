// The endings of messages that help.
#include "host/language/hints.h"

#include "host/syntax/names.h"

#include <span>

namespace host::language {

std::string ConversionHint(const ValueType& from, const ValueType& to) {
    bool isWhole = to.Is(TypeKind::INTEGER) || to.Is(TypeKind::INT64);
    if (to.Is(TypeKind::CURRENCY) && from.Is(TypeKind::DOUBLE)) return " (Currency(…) rounds to four decimals)";
    if (from.Is(TypeKind::CURRENCY) && to.Is(TypeKind::DOUBLE)) return " (use Double(…))";
    if (isWhole && from.IsNumber()) return " (" + to.Text() + "(…) cuts off the fraction)";
    if (to.Is(TypeKind::CURRENCY) && from.Is(TypeKind::STRING)) return " (use ParseCurrency(…))";
    if (to.Is(TypeKind::INT64) && from.Is(TypeKind::STRING)) return " (use ParseInt64(…))";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::BOOLEAN)) return " (use Integer(…))";
    if (to.Is(TypeKind::BOOLEAN) && from.Is(TypeKind::INTEGER)) return " (compare it with 0)";
    if (to.Is(TypeKind::STRING) && (from.IsNumber() || from.Is(TypeKind::BOOLEAN))) return " (use Str(…))";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::STRING)) return " (use Integer(Val(…)))";
    if (to.Is(TypeKind::DOUBLE) && from.Is(TypeKind::STRING)) return " (use Val(…))";
    if (to.Is(TypeKind::OBJECT) && from.Is(TypeKind::STRING) && SameName(to.cls->name, "FolderItem")) {
        return " (use GetFolderItem(…))";
    }
    bool isDowncast = to.Is(TypeKind::OBJECT) && from.Is(TypeKind::OBJECT) && to.cls->IsA(from.cls);
    if (isDowncast) return " (use " + to.cls->name + "(…))";
    return {};
}

namespace {

struct ForeignMember {
    std::string_view type;
    std::string_view members; // between commas
    const char* hint;
};

constexpr ForeignMember FOREIGN_MEMBERS[] = {
    {"String", ",length,len,count,size,", "use Len(…)"},
    {"String", ",upper,toupper,", "use Uppercase(…)"},
    {"String", ",lower,tolower,", "use Lowercase(…)"},
    {"String", ",strip,trim,", "use Trim(…)"},
    {"String", ",substring,substr,mid,", "use Mid(…)"},
    {"String", ",indexof,contains,instr,", "use InStr(…)"},
    {"String", ",split,", "use Split(…)"},
    {"String", ",replace,replaceall,", "use ReplaceAll(…)"},
    {"String", ",startswith,", "use StartsWith(…)"},
    {"String", ",endswith,", "use EndsWith(…)"},
    {"()", ",count,length,size,len,", "Ubound is the last index: there are Ubound + 1 elements"},
    {"()", ",add,push,", "use Append"},
    {"()", ",contains,", "use IndexOf, which is -1 for none"},
    {"()", ",join,", "use Join(…)"},
    {"Dictionary", ",item,get,", "use Value or Lookup"},
    {"Dictionary", ",add,set,", "assign to Value(…)"},
    {"Dictionary", ",contains,containskey,exists,", "use HasKey"},
    {"Dictionary", ",length,size,", "use Count"},
    {"DateTime", ",now,today,", "New DateTime is now"},
    {"FolderItem", ",readall,readtext,read,open,", "use OpenAsTextFile"},
    {"FolderItem", ",write,writetext,", "use CreateTextFile"},
    {"FolderItem", ",size,", "use Length"},
    {"System", ",exit,", "use Quit"},
};

struct ForeignWord {
    std::string_view words; // between commas
    const char* hint;
};

constexpr ForeignWord FOREIGN_NAMES[] = {
    {",null,none,nothing,undefined,nullptr,", "use Nil"},
    {",this,me,", "use Self"},
    {",msgbox,debug,console,echo,printf,puts,", "use Print"},
    {",vbcrlf,vblf,vbnewline,newline,", "use EndOfLine"},
    {",iif,", "use If(…, …, …)"},
    {",cstr,tostring,", "use Str(…)"},
    {",cint,clng,parseint,", "use Integer(Val(…))"},
    {",cdbl,csng,parsefloat,float,", "use Val(…)"},
    {",int,long,short,byte,", "\"Dim x As Integer\" declares a variable, Integer(…) makes a number whole"},
    {",ord,", "use Asc(…)"},
    {",range,", "a loop is written \"For i As Integer = 0 To 9\""},
    {",def,func,fn,", "a function is written \"Function Name(…) As …\""},
    {",let,var,", "\"Dim x As …\" declares a variable"},
    {",set,", "an object is assigned as any value: x = …"},
    {",call,", "a Sub is called by its name alone"},
    {",throw,", "use Raise"},
    {",except,", "use Catch"},
    {",on,resume,", "errors are caught with Try … Catch"},
    {",goto,gosub,", "loops are left with Exit, functions with Return"},
    {",elif,elsif,", "use ElseIf"},
    {",switch,", "use Select Case"},
    {",default,", "use Case Else"},
    {",foreach,", "use For Each"},
    {",endif,", "use End If"},
    {",endsub,", "use End Sub"},
    {",endfunction,", "use End Function"},
    {",import,imports,include,require,using,", "use Import \"file\""},
    {",option,", "every variable is declared"},
};

constexpr ForeignWord FOREIGN_TYPES[] = {
    {",long,", "use Integer, which has 32 bits, or Int64"},
    {",int,byte,short,", "use Integer"},
    {",single,float,real,number,", "use Double"},
    {",decimal,", "use Currency"},
    {",bool,", "use Boolean"},
    {",str,text,char,", "use String"},
    {",object,any,", "use Variant"},
    {",date,", "use DateTime"},
    {",exception,error,", "use RuntimeException"},
    {",list,arraylist,collection,", "an array is declared \"Dim a() As …\""},
    {",map,dict,hashtable,", "use Dictionary"},
};

std::string HintIn(std::span<const ForeignWord> rows, std::string_view name) {
    const std::string wanted = "," + FoldName(name) + ",";
    for (const ForeignWord& row : rows) {
        if (row.words.find(wanted) != std::string_view::npos) return std::string(" (") + row.hint + ")";
    }
    return {};
}

} // namespace

std::string NameHint(std::string_view name) { return HintIn(FOREIGN_NAMES, name); }
std::string TypeHint(std::string_view name) { return HintIn(FOREIGN_TYPES, name); }

std::string MemberHint(std::string_view type, std::string_view member) {
    const std::string wanted = "," + FoldName(member) + ",";
    for (const ForeignMember& row : FOREIGN_MEMBERS) {
        if (row.type == type && row.members.find(wanted) != std::string_view::npos)
            return std::string(" (") + row.hint + ")";
    }
    return {};
}

std::string Plural(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace host::language
