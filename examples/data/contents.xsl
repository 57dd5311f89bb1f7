<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:d="http://docbook.org/ns/docbook"
                exclude-result-prefixes="d">
  <xsl:template match="/">
    <contents>
      <xsl:apply-templates select="//d:preface|//d:chapter|//d:figure"/>
    </contents>
  </xsl:template>

  <xsl:template match="d:preface">
    <entry level="1" label=""><xsl:value-of select="d:title"/></entry>
  </xsl:template>

  <xsl:template match="d:chapter">
    <entry level="1">
      <xsl:attribute name="label"><xsl:number count="d:chapter"/>. </xsl:attribute>
      <xsl:value-of select="d:title"/>
    </entry>
  </xsl:template>

  <xsl:template match="d:figure">
    <entry level="2">
      <xsl:attribute name="label">Figure <xsl:number level="any" count="d:figure"/>: </xsl:attribute>
      <xsl:value-of select="d:title"/>
    </entry>
  </xsl:template>
</xsl:stylesheet>
