# Nokogiri; see jobs.kova.
require 'nokogiri'

def load_file(path) = Nokogiri::XML(File.read(path)) { |config| config.huge }

def count_nodes(node) = 1 + node.children.sum { |child| count_nodes(child) }

def text_length(node) = node.text? ? node.content.bytesize : node.children.sum { |child| text_length(child) }

def append
  document = Nokogiri::XML('<list/>')
  list = document.root
  200_000.times { list.add_child(Nokogiri::XML::Element.new('item', document)) }
  list.children.length
end

def set_attributes(document)
  count = 0
  document.root.children.each do |record|
    next unless record.element?
    (1..5).each do |i|
      record["seen#{i}"] = count.to_s
      count += 1
    end
  end
  count
end

def small(sheet)
  compiled = Nokogiri::XSLT(File.read(sheet))
  (1..10_000).sum do |i|
    document = Nokogiri::XML("<item n='#{i}'><name>amber basin</name><price>12.50</price></item>")
    compiled.apply_to(document).bytesize
  end
end

job, path, sheet = ARGV
result = case job
         when 'load' then load_file(path).root.children.length
         when 'walk' then count_nodes(load_file(path).root)
         when 'texts' then text_length(load_file(path).root)
         when 'find'
           document = load_file(path)
           (1..10).sum { |i| document.xpath("//record[@id='r#{i * 1000}']").length }
         when 'queries' then load_file(path).root.elements.sum { |record| record.xpath('price').length }
         when 'save'
           File.open(sheet, 'w') { |file| load_file(path).write_to(file, encoding: 'UTF-8', save_with: 0) }
           'saved'
         when 'append' then append
         when 'set' then set_attributes(load_file(path))
         when 'small' then small(sheet)
         else Nokogiri::XSLT::Stylesheet.parse_stylesheet_doc(Nokogiri::XML(File.read(sheet), sheet))
                                        .apply_to(load_file(path)).bytesize > 1000 ? 'done' : 'too short'
         end
puts result
