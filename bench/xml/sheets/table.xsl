<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html"/>
  <xsl:template match="/records">
    <html><body><table><xsl:apply-templates select="record"/></table></body></html>
  </xsl:template>
  <xsl:template match="record">
    <tr class="{@kind}">
      <td><xsl:value-of select="name"/></td>
      <td><xsl:value-of select="format-number(price, '0.00')"/></td>
      <td><xsl:value-of select="concat(price/@currency, ' ', note)"/></td>
    </tr>
  </xsl:template>
</xsl:stylesheet>
