<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text"/>
  <xsl:key name="by-name" match="record" use="name"/>
  <xsl:template match="/records">
    <xsl:for-each select="record[generate-id(.) = generate-id(key('by-name', name)[1])]">
      <xsl:value-of select="concat(name, ' ', count(key('by-name', name)), ' ', sum(key('by-name', name)/price), '&#10;')"/>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
