<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:m="http://www.freedesktop.org/standards/shared-mime-info" exclude-result-prefixes="m">
  <xsl:output method="html" encoding="UTF-8" indent="yes"/>

  <xsl:template match="/m:mime-info">
    <html>
      <head><title>Image types</title></head>
      <body>
        <h1>Image types</h1>
        <table>
          <xsl:for-each select="m:mime-type[starts-with(@type, 'image/')]">
            <xsl:sort select="@type"/>
            <tr>
              <td><xsl:value-of select="@type"/></td>
              <td><xsl:value-of select="m:comment[not(@xml:lang)]"/></td>
              <td><xsl:for-each select="m:glob"><xsl:value-of select="@pattern"/><xsl:text> </xsl:text></xsl:for-each></td>
            </tr>
          </xsl:for-each>
        </table>
      </body>
    </html>
  </xsl:template>
</xsl:stylesheet>
