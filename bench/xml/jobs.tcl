# tDOM; see jobs.kova.
package require tdom

set elements 0
set bytes 0

proc count {name attributes} { incr ::elements }
proc start {name attributes} {
    incr ::elements
    foreach {key value} $attributes { incr ::bytes [string length $value] }
}
proc end {name} { incr ::bytes }
proc text {data} { incr ::bytes [string length $data] }

proc parse {path args} {
    set parser [expat {*}$args]
    $parser parsefile $path
    $parser free
}

proc load_file {path} {
    set file [open $path]
    fconfigure $file -encoding utf-8 -translation lf
    set document [dom parse -keepEmpties -channel $file]
    close $file
    return $document
}

proc count_nodes {node} {
    set count 1
    for {set child [$node firstChild]} {$child ne ""} {set child [$child nextSibling]} {
        incr count [expr {[$child nodeType] eq "ELEMENT_NODE" ? [count_nodes $child] : 1}]
    }
    return $count
}

proc text_length {node} {
    set length 0
    for {set child [$node firstChild]} {$child ne ""} {set child [$child nextSibling]} {
        incr length [expr {[$child nodeType] eq "ELEMENT_NODE" ? [text_length $child]
                           : [string length [$child nodeValue]]}]
    }
    return $length
}

proc find {document} {
    set found 0
    for {set i 1} {$i <= 10} {incr i} {
        incr found [llength [$document selectNodes "//record\[@id='r[expr {$i * 1000}]'\]"]]
    }
    return $found
}

proc queries {document} {
    set found 0
    for {set record [[$document documentElement] firstChild]} {$record ne ""} {set record [$record nextSibling]} {
        if {[$record nodeType] eq "ELEMENT_NODE"} { incr found [llength [$record selectNodes price]] }
    }
    return $found
}

proc append_items {} {
    set document [dom createDocument list]
    set list [$document documentElement]
    for {set i 1} {$i <= 200000} {incr i} { $list appendChild [$document createElement item] }
    return [llength [$list childNodes]]
}

proc set_attributes {document} {
    set count 0
    for {set record [[$document documentElement] firstChild]} {$record ne ""} {set record [$record nextSibling]} {
        if {[$record nodeType] ne "ELEMENT_NODE"} continue
        for {set i 1} {$i <= 5} {incr i} {
            $record setAttribute seen$i $count
            incr count
        }
    }
    return $count
}

proc transform {document compiled} {
    $compiled $document result
    set text [$result asXML -indent none]
    $result delete
    return $text
}

proc small {sheet} {
    set compiled [[load_file $sheet] toXSLTcmd]
    set length 0
    for {set i 1} {$i <= 10000} {incr i} {
        set document [dom parse "<item n='$i'><name>amber basin</name><price>12.50</price></item>"]
        incr length [string length [transform $document $compiled]]
        $document delete
    }
    return $length
}

proc main {job path {sheet ""}} {
    global elements bytes
    switch $job {
        nothing { parse $path; return parsed }
        elements { parse $path -elementstartcommand count; return $elements }
        files {
            foreach file [glob $path/*] { parse $file -elementstartcommand count }
            return $elements
        }
        all - attributes - text {
            parse $path -elementstartcommand start -elementendcommand end -characterdatacommand text
            return "$elements $bytes"
        }
        load { return [llength [[[load_file $path] documentElement] childNodes]] }
        walk { return [count_nodes [[load_file $path] documentElement]] }
        texts { return [text_length [[load_file $path] documentElement]] }
        find { return [find [load_file $path]] }
        queries { return [queries [load_file $path]] }
        save {
            set file [open $sheet w]
            fconfigure $file -encoding utf-8
            [load_file $path] asXML -indent none -channel $file
            close $file
            return saved
        }
        append { return [append_items] }
        set { return [set_attributes [load_file $path]] }
        small { return [small $sheet] }
        default {
            set text [transform [load_file $path] [[load_file $sheet] toXSLTcmd]]
            return [expr {[string length $text] > 1000 ? "done" : "too short"}]
        }
    }
}

puts [main {*}$argv]
