<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:l="urn:example:library" xmlns:dc="http://purl.org/dc/elements/1.1/" exclude-result-prefixes="l dc">
  <xsl:output method="html" encoding="UTF-8" indent="no"/>

  <xsl:template match="/l:library">
    <html>
      <head><title>Library</title></head>
      <body>
        <h1>Library: <xsl:value-of select="count(l:shelf/l:book)"/> books</h1>
        <xsl:apply-templates select="l:shelf"/>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="l:shelf">
    <h2><xsl:value-of select="@name"/></h2>
    <ul>
      <xsl:for-each select="l:book">
        <xsl:sort select="dc:date" data-type="number"/>
        <li>
          <em><xsl:value-of select="dc:title"/></em>
          <xsl:text>, </xsl:text>
          <xsl:for-each select="dc:creator">
            <xsl:if test="position() > 1"> and </xsl:if>
            <xsl:value-of select="."/>
          </xsl:for-each>
          <xsl:text> (</xsl:text>
          <xsl:value-of select="dc:date"/>
          <xsl:text>)</xsl:text>
          <xsl:if test="@lent = 'yes'"> – lent</xsl:if>
        </li>
      </xsl:for-each>
    </ul>
  </xsl:template>
</xsl:stylesheet>
