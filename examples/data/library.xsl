<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:l="urn:example:library" xmlns:loan="urn:example:loan" exclude-result-prefixes="l loan">
  <xsl:output method="html" encoding="UTF-8" indent="yes"/>

  <xsl:template match="/l:library">
    <html>
      <head><title><xsl:value-of select="@name"/></title></head>
      <body>
        <h1><xsl:value-of select="concat('The library in ', @name)"/></h1>
        <table>
          <tr><th>Year</th><th>Title</th><th>Author</th><th>Lent to</th></tr>
          <xsl:apply-templates select="l:book">
            <xsl:sort select="@year" data-type="number"/>
          </xsl:apply-templates>
        </table>
        <p><xsl:value-of select="count(l:book[loan:out])"/> of <xsl:value-of select="count(l:book)"/> are lent.</p>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="l:book">
    <tr id="{@id}">
      <td><xsl:value-of select="@year"/></td>
      <td><xsl:value-of select="l:title"/></td>
      <td><xsl:value-of select="l:author"/></td>
      <td><xsl:value-of select="loan:out/@to"/></td>
    </tr>
  </xsl:template>
</xsl:stylesheet>
