<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8" indent="no"/>
  <xsl:decimal-format grouping-separator="," decimal-separator="."/>

  <xsl:template match="/orders">
    <html>
      <head><title>Orders</title></head>
      <body>
        <xsl:apply-templates select="order"/>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="order">
    <h2><xsl:value-of select="@number"/>: <xsl:value-of select="@customer"/></h2>
    <table>
      <xsl:apply-templates select="line"/>
    </table>
  </xsl:template>

  <xsl:template match="line">
    <tr>
      <td><xsl:value-of select="@quantity"/></td>
      <td><xsl:value-of select="@item"/></td>
      <td><xsl:value-of select="format-number(@quantity * @price, '#,##0.00')"/></td>
      <td><xsl:value-of select="/orders/@currency"/></td>
    </tr>
  </xsl:template>
</xsl:stylesheet>
