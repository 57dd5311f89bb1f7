<?php
// xml_parser, DOM and XSL; see jobs.kova.
ini_set('memory_limit', '-1');
[, $job, $path] = $argv;
$sheet = $argv[3] ?? '';
$elements = 0;
$bytes = 0;

function parse(string $path, array $handlers): void
{
    $parser = xml_parser_create();
    xml_parser_set_option($parser, XML_OPTION_CASE_FOLDING, 0);
    if (isset($handlers['start'])) xml_set_element_handler($parser, $handlers['start'], $handlers['end'] ?? fn() => 0);
    if (isset($handlers['text'])) xml_set_character_data_handler($parser, $handlers['text']);
    $file = fopen($path, 'rb');
    while (!feof($file)) {
        if (!xml_parse($parser, fread($file, 65536))) die(xml_error_string(xml_get_error_code($parser)));
    }
    xml_parse($parser, '', true);
    fclose($file);
}

$count = ['start' => function () use (&$elements) { ++$elements; }];
$measure = [
    'start' => function ($parser, $name, $attributes) use (&$elements, &$bytes) {
        ++$elements;
        foreach ($attributes as $value) $bytes += strlen($value);
    },
    'end' => function () use (&$bytes) { ++$bytes; },
    'text' => function ($parser, $text) use (&$bytes) { $bytes += strlen($text); },
];

function load(string $path): DOMDocument
{
    $document = new DOMDocument;
    $document->load($path);
    return $document;
}

function countNodes(DOMNode $node): int
{
    $count = 1;
    for ($child = $node->firstChild; $child; $child = $child->nextSibling) $count += countNodes($child);
    return $count;
}

function textLength(DOMNode $node): int
{
    if ($node->nodeType === XML_TEXT_NODE) return strlen($node->nodeValue);
    $length = 0;
    for ($child = $node->firstChild; $child; $child = $child->nextSibling) $length += textLength($child);
    return $length;
}

function compile(string $path): XSLTProcessor
{
    $processor = new XSLTProcessor;
    $processor->importStylesheet(load($path));
    return $processor;
}

switch ($job) {
    case 'nothing':
        parse($path, []);
        echo "parsed\n";
        break;
    case 'elements':
        parse($path, $count);
        echo "$elements\n";
        break;
    case 'files':
        foreach (glob("$path/*") as $file) parse($file, $count);
        echo "$elements\n";
        break;
    case 'all':
    case 'attributes':
    case 'text':
        parse($path, $measure);
        echo "$elements $bytes\n";
        break;
    case 'load':
        echo load($path)->documentElement->childNodes->length, "\n";
        break;
    case 'walk':
        echo countNodes(load($path)->documentElement), "\n";
        break;
    case 'texts':
        echo textLength(load($path)->documentElement), "\n";
        break;
    case 'find':
        $xpath = new DOMXPath(load($path));
        $found = 0;
        for ($i = 1; $i <= 10; ++$i) $found += $xpath->query("//record[@id='r" . $i * 1000 . "']")->length;
        echo "$found\n";
        break;
    case 'queries':
        $document = load($path);
        $xpath = new DOMXPath($document);
        $found = 0;
        for ($record = $document->documentElement->firstChild; $record; $record = $record->nextSibling)
            if ($record->nodeType === XML_ELEMENT_NODE) $found += $xpath->query('price', $record)->length;
        echo "$found\n";
        break;
    case 'save':
        load($path)->save($sheet);
        echo "saved\n";
        break;
    case 'append':
        $document = new DOMDocument;
        $document->loadXML('<list/>');
        $list = $document->documentElement;
        for ($i = 1; $i <= 200000; ++$i) $list->appendChild($document->createElement('item'));
        echo $list->childNodes->length, "\n";
        break;
    case 'set':
        $set = 0;
        $document = load($path);
        for ($record = $document->documentElement->firstChild; $record; $record = $record->nextSibling) {
            if ($record->nodeType !== XML_ELEMENT_NODE) continue;
            for ($i = 1; $i <= 5; ++$i) $record->setAttribute("seen$i", (string)$set++);
        }
        echo "$set\n";
        break;
    case 'small':
        $processor = compile($sheet);
        $length = 0;
        for ($i = 1; $i <= 10000; ++$i) {
            $document = new DOMDocument;
            $document->loadXML("<item n='$i'><name>amber basin</name><price>12.50</price></item>");
            $length += strlen($processor->transformToXML($document));
        }
        echo "$length\n";
        break;
    default:
        echo strlen(compile($sheet)->transformToXML(load($path))) > 1000 ? "done\n" : "too short\n";
}
