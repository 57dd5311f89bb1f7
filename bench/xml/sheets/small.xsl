<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text"/>
  <xsl:template match="item"><xsl:value-of select="concat(@n, ': ', name, ' ', price * 2)"/></xsl:template>
</xsl:stylesheet>
