/****************************************************************
 ***                                                          ***
 ***       The Script file was created using                  ***
 ***               KORVO v2.0 professional                    ***
 ***                                                          ***
 ***       Date Created:  dd.mm.yyyy hh:nn:ss                 ***
 ***                                                          ***
 ****************************************************************/


/****************************************************************
 *** Start: Create objects                                    ***
 ****************************************************************/
GO

CREATE FUNCTION [dbo].[fn_a] (@a int) RETURNS int AS BEGIN RETURN (SELECT 1) END
GO

CREATE VIEW [dbo].[vw_a_top] AS SELECT a FROM [dbo].[vw_b_base]
GO

CREATE VIEW [dbo].[vw_b_base] AS SELECT 1 AS a
GO

CREATE TRIGGER [dbo].[tr_a] ON [dbo].[t_ops] AFTER INSERT, UPDATE AS SELECT 1
GO

/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/

GO

/****************************************************************
 *** Start: Update objects                                    ***
 ****************************************************************/
GO

ALTER PROCEDURE [dbo].[usp_b] @a int, @b varchar(10) AS SELECT 1
GO

/****************************************************************
 *** End: Update objects                                      ***
 ****************************************************************/

GO

/****************************************************************
 *** Start: Drop objects                                      ***
 ****************************************************************/
GO

IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[usp_z]') AND OBJECTPROPERTY(id, N'IsProcedure') = 1) 
	 DROP PROCEDURE [dbo].[usp_z]
GO

IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[vw_y]') AND OBJECTPROPERTY(id, N'IsView') = 1) 
	 DROP VIEW [dbo].[vw_y]
GO

IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[vw_z_top]') AND OBJECTPROPERTY(id, N'IsView') = 1) 
	 DROP VIEW [dbo].[vw_z_top]
GO

/****************************************************************
 *** End: Drop objects                                        ***
 ****************************************************************/

GO

/****************************************************************
 *** Start: Set Permissions for Added objects                 ***
 ****************************************************************/
GO

REVOKE EXECUTE ON [dbo].[fn_a] TO [public]
REVOKE REFERENCES ON [dbo].[fn_a] TO [public]
REVOKE EXECUTE ON [dbo].[fn_a] TO [guest]
REVOKE REFERENCES ON [dbo].[fn_a] TO [guest]

GO

REVOKE SELECT ON [dbo].[vw_a_top] TO [public]
REVOKE INSERT ON [dbo].[vw_a_top] TO [public]
REVOKE UPDATE ON [dbo].[vw_a_top] TO [public]
REVOKE DELETE ON [dbo].[vw_a_top] TO [public]
REVOKE REFERENCES ON [dbo].[vw_a_top] TO [public]
REVOKE SELECT ON [dbo].[vw_a_top] TO [guest]
REVOKE INSERT ON [dbo].[vw_a_top] TO [guest]
REVOKE UPDATE ON [dbo].[vw_a_top] TO [guest]
REVOKE DELETE ON [dbo].[vw_a_top] TO [guest]
REVOKE REFERENCES ON [dbo].[vw_a_top] TO [guest]

GO

REVOKE SELECT ON [dbo].[vw_b_base] TO [public]
REVOKE INSERT ON [dbo].[vw_b_base] TO [public]
REVOKE UPDATE ON [dbo].[vw_b_base] TO [public]
REVOKE DELETE ON [dbo].[vw_b_base] TO [public]
REVOKE REFERENCES ON [dbo].[vw_b_base] TO [public]
REVOKE SELECT ON [dbo].[vw_b_base] TO [guest]
REVOKE INSERT ON [dbo].[vw_b_base] TO [guest]
REVOKE UPDATE ON [dbo].[vw_b_base] TO [guest]
REVOKE DELETE ON [dbo].[vw_b_base] TO [guest]
REVOKE REFERENCES ON [dbo].[vw_b_base] TO [guest]

GO

/****************************************************************
 *** End: Set Permissions for Added objects                   ***
 ****************************************************************/

GO

