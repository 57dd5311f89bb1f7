# Counts the elements of a file and adds up the lengths of their attributes' values: count.tcl FILE
package require tdom

set elements 0
set attributeLength 0

proc StartElement {name attributes} {
    incr ::elements
    foreach {key value} $attributes {
        incr ::attributeLength [string length $value]
    }
}

expat parser -elementstartcommand StartElement
parser parsefile [lindex $argv 0]
puts "$elements elements, $attributeLength bytes of attributes"
